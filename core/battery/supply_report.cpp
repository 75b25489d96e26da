#include "battery/supply_report.h"

#include <algorithm>
#include <system_error>

#include "common/texts.h"

namespace torvel {
namespace fs = std::filesystem;

namespace {

std::vector<std::pair<std::string, std::string>> attributesOf(const fs::path& supply) {
    std::vector<std::pair<std::string, std::string>> attributes;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(supply, error)) {
        const std::string name = entry.path().filename().string();
        // uevent repeats every attribute; links (device, subsystem) and folders (power, hwmon) are not ones.
        if (name == "uevent" || entry.is_symlink(error) || !entry.is_regular_file(error)) continue;
        if (auto text = readAttribute(entry.path())) attributes.emplace_back(name, std::move(*text));
    }
    std::sort(attributes.begin(), attributes.end());
    return attributes;
}

std::string whyControlled(const BatteryControls& controls) {
    const auto mode = controls.mode();
    if (mode == "thresholds+behaviour")
        return tr("The service holds the limit here with the charge thresholds and charge_behaviour.");
    if (mode == "thresholds") return tr("The service holds the limit here with the charge thresholds.");
    if (controls.incomplete)
        return tr("The service cannot read charge_behaviour right now and will look at this battery again.");
    if (mode == "behaviour")
        return tr("The service holds the limit here by pausing charging with charge_behaviour.");
    return tr(
        "The driver offers no charge threshold or charge_behaviour that could hold a limit on this battery.");
}

}  // namespace

std::optional<SupplyReport> reportPowerSupplies(const fs::path& powerSupply) {
    const auto supplies = listSupplies(powerSupply);
    if (!supplies) return std::nullopt;
    SupplyReport report;
    std::vector<BatteryAttributes> batteries;
    for (const auto& path : *supplies) {
        SupplyReport::Supply supply;
        supply.name = path.filename().string();
        supply.attributes = attributesOf(path);
        const auto type = readAttribute(path / "type");
        if (isSystemBattery(path)) {
            BatteryAttributes reading = readBatteryAttributes(path);
            batteries.push_back(reading);
            if (!reading.batteryPresent) {
                supply.role = "empty bay";
                supply.why = tr("The bay is empty, so there is nothing to hold.");
            } else {
                supply.role = "battery";
                supply.controls = readBatteryControls(path);
                supply.controlled = supply.controls->mode().has_value();
                supply.why = whyControlled(*supply.controls);
                supply.reading = std::move(reading);
            }
        } else if (type == "Battery") {
            supply.role = "peripheral";
            supply.why = tr("A device's own battery, which the service leaves alone.");
        } else if (suppliesMains(path)) {
            supply.role = "mains";
            report.onMains = true;
        } else if (type == "Mains" || (type && type->starts_with("USB"))) {
            supply.role = "mains (offline)";
        } else {
            supply.role = "other";
        }
        report.supplies.push_back(std::move(supply));
    }
    report.whole = combineBatteries(batteries);
    return report;
}

}  // namespace torvel
