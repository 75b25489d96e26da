#include <string>

#include "battery/supply_report.h"
#include "commands.h"
#include "common/json.h"
#include "common/paths.h"
#include "options.h"

namespace torvel::cli {
namespace {

json::Value readingJson(const BatteryAttributes& battery) {
    json::Value value = json::Value::object();
    value["present"] = battery.batteryPresent;
    value["percent"] = json::orNull<json::Value>(battery.capacity);
    value["status"] = json::orNull<json::Value>(battery.status);
    value["cycleCount"] = json::orNull<json::Value>(battery.cycleCount);
    value["voltageMillivolts"] = json::orNull<json::Value>(battery.voltageMillivolts);
    value["currentMicroamps"] = json::orNull<json::Value>(battery.currentMicroamps);
    value["powerMicrowatts"] = json::orNull<json::Value>(battery.powerMicrowatts);
    value["fullChargeMah"] = json::orNull<json::Value>(battery.fullChargeMah);
    value["designMah"] = json::orNull<json::Value>(battery.designMah);
    value["fullEnergyMwh"] = json::orNull<json::Value>(battery.fullEnergyMwh);
    value["designEnergyMwh"] = json::orNull<json::Value>(battery.designEnergyMwh);
    value["healthPercent"] = json::orNull<json::Value>(battery.healthPercent);
    value["temperatureCelsius"] = json::orNull<json::Value>(battery.temperatureCelsius);
    return value;
}

json::Value reportJson(const SupplyReport& report) {
    json::Value supplies = json::Value::array();
    for (const auto& supply : report.supplies) {
        json::Value entry = json::Value::object();
        entry["name"] = supply.name;
        entry["role"] = supply.role;
        json::Value attributes = json::Value::object();
        for (const auto& [name, text] : supply.attributes) attributes[name] = text;
        entry["attributes"] = std::move(attributes);
        entry["reading"] = supply.reading ? readingJson(*supply.reading) : json::Value(nullptr);
        if (supply.controls) {
            json::Value controls = json::Value::object();
            controls["endThreshold"] = supply.controls->endThreshold;
            controls["startThreshold"] = supply.controls->startThreshold;
            controls["behaviours"] = supply.controls->behaviours;
            controls["mode"] = json::orNull<json::Value>(supply.controls->mode());
            entry["controls"] = std::move(controls);
        } else {
            entry["controls"] = nullptr;
        }
        entry["controlled"] = supply.controlled;
        entry["why"] = supply.why;
        supplies.push_back(std::move(entry));
    }
    json::Value value = json::Value::object();
    value["supplies"] = std::move(supplies);
    value["onMains"] = report.onMains;
    value["whole"] = readingJson(report.whole);
    return value;
}

std::string orUnknown(const std::optional<std::int64_t>& value, const char* unit) {
    return value ? std::to_string(*value) + unit : "unknown";
}

void printReading(std::FILE* out, const BatteryAttributes& battery) {
    std::fprintf(out, "    charge: %s, %s, health %s, cycles %s\n", orUnknown(battery.capacity, "%").c_str(),
                 battery.status.value_or("no status").c_str(), orUnknown(battery.healthPercent, "%").c_str(),
                 orUnknown(battery.cycleCount, "").c_str());
    std::fprintf(
        out, "    current %s, power %s, full %s (%s), design %s (%s)\n",
        orUnknown(battery.currentMicroamps, " µA").c_str(), orUnknown(battery.powerMicrowatts, " µW").c_str(),
        orUnknown(battery.fullChargeMah, " mAh").c_str(), orUnknown(battery.fullEnergyMwh, " mWh").c_str(),
        orUnknown(battery.designMah, " mAh").c_str(), orUnknown(battery.designEnergyMwh, " mWh").c_str());
}

}  // namespace

int batteryCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = Options::parse(args, {{"--json"}});
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        std::fprintf(err, "torvelctl battery: %s\n", error->c_str());
        return exitUsage;
    }
    const Paths paths = Paths::fromProcessEnvironment();
    const auto report = reportPowerSupplies(paths.powerSupply);
    if (!report) {
        std::fprintf(err, "torvelctl battery: cannot list %s\n", paths.powerSupply.c_str());
        return exitFailed;
    }
    if (std::get<Options>(parsed).has("--json")) {
        std::fprintf(out, "%s\n",
                     reportJson(*report).dump(2, ' ', false, json::Value::error_handler_t::replace).c_str());
        return exitOk;
    }
    for (const auto& supply : report->supplies) {
        std::fprintf(out, "%s: %s%s\n", supply.name.c_str(), supply.role.c_str(),
                     supply.controlled ? ", held" : "");
        for (const auto& [name, text] : supply.attributes)
            std::fprintf(out, "  %-32s %s\n", name.c_str(), text.c_str());
        if (supply.reading) printReading(out, *supply.reading);
        if (!supply.why.empty()) std::fprintf(out, "    %s\n", supply.why.c_str());
        std::fputc('\n', out);
    }
    std::fprintf(out, "on mains: %s\nall batteries as one:\n", report->onMains ? "yes" : "no");
    printReading(out, report->whole);
    return exitOk;
}

}  // namespace torvel::cli
