#include "service/status_file.h"

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

}  // namespace

void refreshStatus(ServiceStatus& status, std::optional<std::string_view> fileBytes, double now,
                   bool daemonInstalled) {
    const auto file = fileBytes ? json::parseObject(*fileBytes) : std::nullopt;
    if (!file) {
        status.state = "unknown";
        return;
    }

    const auto ts = json::number(*file, "ts");
    const bool fresh = ts && now - *ts <= statusFreshSeconds;
    status.state = fresh ? json::text(*file, "state").value_or("unknown") : "stale";

    status.statusPct = json::toInt(json::truncatedInteger(*file, "pct")).value_or(0);
    status.statusPlugged = json::boolean(*file, "plugged").value_or(false);
    status.statusHot = json::boolean(*file, "hot").value_or(false);
    status.statusTemp = json::number(*file, "temp");
    status.statusTopUp = json::boolean(*file, "topUp").value_or(false);
    status.statusProtectedSeconds = json::number(*file, "protectedSeconds").value_or(0);
    status.statusSince = json::number(*file, "since");
    status.ledSupported = json::boolean(*file, "ledSupported").value_or(true);
    status.dischargeSupported = json::boolean(*file, "dischargeSupported").value_or(true);
    status.dischargeFailed = json::boolean(*file, "dischargeFailed").value_or(false);
    status.smcKeys = textList(*file, "smcKeys");
    status.chargeMode = json::text(*file, "chargeMode");
    status.nativeFloor = percentage(*file, "nativeFloor");
    status.gateVerified = fresh ? json::boolean(*file, "gateVerified") : std::nullopt;

    if (status.state != "stale" && daemonInstalled) {
        status.daemonVersion = json::text(*file, "daemonVersion");
        status.daemonStartedAt = json::number(*file, "startedAt");
        status.daemonPath = json::text(*file, "daemonPath");
    } else {
        status.daemonVersion.reset();
        status.daemonStartedAt.reset();
        status.daemonPath.reset();
    }

    const json::Value* cal = json::object(*file, "cal");
    status.cal = CalibrationStatus::decode(cal != nullptr ? *cal : json::Value::object());
}

bool followCalibrate(bool calibrate, std::optional<double> calibrateAskedAt, const CalibrationStatus& cal,
                     double now) {
    if (calibrateAskedAt && now - *calibrateAskedAt <= calibrateGraceSeconds) return calibrate;
    return cal.phase != CalibrationStatus::Phase::idle;
}

}  // namespace torvel
