#include <string>

#include "battery/supply_report.h"
#include "commands.h"
#include "common/json.h"
#include "common/paths.h"
#include "common/sentence.h"
#include "common/texts.h"
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

// `unit` is a translated pattern such as "%1 mAh".
std::string orUnknown(const std::optional<std::int64_t>& value, const std::string& unit) {
    return value ? fillSentence(unit, {std::to_string(*value)}) : tr("unknown");
}

void printReading(std::FILE* out, const BatteryAttributes& battery) {
    const std::string percent = tr("%1%");
    printLine(
        out,
        "    " + tr("charge: %1, %2, health %3, cycles %4",
                    {orUnknown(battery.capacity, percent), battery.status ? *battery.status : tr("no status"),
                     orUnknown(battery.healthPercent, percent), orUnknown(battery.cycleCount, "%1")}));
    const std::string mah = tr("%1 mAh"), mwh = tr("%1 mWh");
    printLine(out, "    " + tr("current %1, power %2, full %3 (%4), design %5 (%6)",
                               {orUnknown(battery.currentMicroamps, tr("%1 µA")),
                                orUnknown(battery.powerMicrowatts, tr("%1 µW")),
                                orUnknown(battery.fullChargeMah, mah), orUnknown(battery.fullEnergyMwh, mwh),
                                orUnknown(battery.designMah, mah), orUnknown(battery.designEnergyMwh, mwh)}));
}

}  // namespace

int batteryCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = Options::parse(args, {{"--json"}});
    if (const auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl battery: %1", {*error}));
        return exitUsage;
    }
    const Paths paths = Paths::fromProcessEnvironment();
    const auto report = reportPowerSupplies(paths.powerSupply);
    if (!report) {
        printLine(err, tr("torvelctl battery: cannot list %1", {paths.powerSupply.string()}));
        return exitFailed;
    }
    if (std::get<Options>(parsed).has("--json")) {
        std::fprintf(out, "%s\n",
                     reportJson(*report).dump(2, ' ', false, json::Value::error_handler_t::replace).c_str());
        return exitOk;
    }
    for (const auto& supply : report->supplies) {
        printLine(out, supply.controlled ? tr("%1: %2, held", {supply.name, supply.role})
                                         : tr("%1: %2", {supply.name, supply.role}));
        for (const auto& [name, text] : supply.attributes)
            std::fprintf(out, "  %-32s %s\n", name.c_str(), text.c_str());
        if (supply.reading) printReading(out, *supply.reading);
        if (!supply.why.empty()) std::fprintf(out, "    %s\n", supply.why.c_str());
        std::fputc('\n', out);
    }
    printLine(out, tr("on mains: %1", {report->onMains ? tr("yes") : tr("no")}));
    printLine(out, tr("all batteries as one:"));
    printReading(out, report->whole);
    return exitOk;
}

}  // namespace torvel::cli
