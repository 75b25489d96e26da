#include "service/published_status.h"

namespace torvel {
namespace {

std::vector<std::string> textList(const json::Value& file, std::string_view key) {
    const json::Value* array = json::member(file, key);
    if (array == nullptr || !array->is_array()) return {};
    std::vector<std::string> texts;
    texts.reserve(array->size());
    for (const auto& element : *array) {
        if (!element.is_string()) return {};
        texts.push_back(element.get<std::string>());
    }
    return texts;
}

// A floor outside 0..100 is not a floor any machine has; believing it would pin the held limit.
std::optional<int> percentage(const json::Value& file, std::string_view key) {
    const auto value = json::integer(file, key);
    if (!value || *value < 0 || *value > 100) return std::nullopt;
    return static_cast<int>(*value);
}

json::Value encodeBattery(const PublishedBattery& battery) {
    json::Value value = json::Value::object();
    value["name"] = battery.name;
    value["pct"] = json::orNull<json::Value>(battery.pct);
    value["status"] = json::orNull<json::Value>(battery.status);
    value["mode"] = json::orNull<json::Value>(battery.mode);
    value["startThreshold"] = json::orNull<json::Value>(battery.startThreshold);
    value["endThreshold"] = json::orNull<json::Value>(battery.endThreshold);
    value["behaviour"] = json::orNull<json::Value>(battery.behaviour);
    value["error"] = json::orNull<json::Value>(battery.error);
    return value;
}

std::vector<PublishedBattery> decodeBatteries(const json::Value& file) {
    const json::Value* array = json::member(file, "batteries");
    std::vector<PublishedBattery> batteries;
    if (array == nullptr || !array->is_array()) return batteries;
    for (const auto& element : *array) {
        if (!element.is_object()) continue;
        auto name = json::text(element, "name");
        if (!name) continue;
        batteries.push_back({
            .name = std::move(*name),
            .pct = percentage(element, "pct"),
            .status = json::text(element, "status"),
            .mode = json::text(element, "mode"),
            .startThreshold = percentage(element, "startThreshold"),
            .endThreshold = percentage(element, "endThreshold"),
            .behaviour = json::text(element, "behaviour"),
            .error = json::text(element, "error"),
        });
    }
    return batteries;
}

}  // namespace

json::Value PublishedStatus::encode() const {
    json::Value file = json::Value::object();
    file["ts"] = json::orNull<json::Value>(ts);
    file["state"] = state        ? json::Value(std::string(word(*state)))
                    : otherState ? json::Value(*otherState)
                                 : json::Value(nullptr);
    file["pct"] = pct;
    file["plugged"] = plugged;
    file["hot"] = hot;
    file["temp"] = json::orNull<json::Value>(temp);
    file["topUp"] = topUp;
    file["protectedSeconds"] = protectedSeconds;
    file["since"] = json::orNull<json::Value>(since);
    file["ledSupported"] = ledSupported;
    file["dischargeSupported"] = dischargeSupported;
    file["dischargeFailed"] = dischargeFailed;
    file["smcKeys"] = smcKeys;
    file["chargeMode"] = json::orNull<json::Value>(chargeMode);
    file["nativeFloor"] = json::orNull<json::Value>(nativeFloor);
    file["nativeLimit"] = json::orNull<json::Value>(nativeLimit);
    file["chargeError"] = json::orNull<json::Value>(chargeError);
    json::Value list = json::Value::array();
    for (const auto& battery : batteries) list.push_back(encodeBattery(battery));
    file["batteries"] = std::move(list);
    file["otherWriter"] = otherWriter ? otherWriter->encode() : json::Value(nullptr);
    file["gateVerified"] = json::orNull<json::Value>(gateVerified);
    file["daemonVersion"] = json::orNull<json::Value>(daemonVersion);
    file["startedAt"] = json::orNull<json::Value>(startedAt);
    file["daemonPath"] = json::orNull<json::Value>(daemonPath);
    file["cal"] = cal.encode();
    return file;
}

std::string PublishedStatus::fileText() const {
    // A path or a word with invalid UTF-8 must not make the whole file unwritable.
    return encode().dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

std::optional<PublishedStatus> PublishedStatus::decode(std::string_view fileBytes) {
    const auto file = json::parseObject(fileBytes);
    if (!file) return std::nullopt;
    PublishedStatus status;
    status.ts = json::number(*file, "ts");
    if (const auto stateWord = json::text(*file, "state")) {
        status.state = chargeStateNamed(*stateWord);
        if (!status.state) status.otherState = std::string(*stateWord);
    }
    status.pct = json::toInt(json::truncatedInteger(*file, "pct")).value_or(0);
    status.plugged = json::boolean(*file, "plugged").value_or(false);
    status.hot = json::boolean(*file, "hot").value_or(false);
    status.temp = json::number(*file, "temp");
    status.topUp = json::boolean(*file, "topUp").value_or(false);
    status.protectedSeconds = json::number(*file, "protectedSeconds").value_or(0);
    status.since = json::number(*file, "since");
    status.ledSupported = json::boolean(*file, "ledSupported").value_or(true);
    status.dischargeSupported = json::boolean(*file, "dischargeSupported").value_or(true);
    status.dischargeFailed = json::boolean(*file, "dischargeFailed").value_or(false);
    status.smcKeys = textList(*file, "smcKeys");
    status.chargeMode = json::text(*file, "chargeMode");
    status.nativeFloor = percentage(*file, "nativeFloor");
    status.nativeLimit = percentage(*file, "nativeLimit");
    status.chargeError = json::text(*file, "chargeError");
    status.batteries = decodeBatteries(*file);
    if (const json::Value* other = json::member(*file, "otherWriter"))
        status.otherWriter = OtherWriter::decode(*other);
    status.gateVerified = json::boolean(*file, "gateVerified");
    status.daemonVersion = json::text(*file, "daemonVersion");
    status.startedAt = json::number(*file, "startedAt");
    status.daemonPath = json::text(*file, "daemonPath");
    const json::Value* cal = json::object(*file, "cal");
    status.cal = CalibrationStatus::decode(cal != nullptr ? *cal : json::Value::object());
    return status;
}

}  // namespace torvel
