#include "battery/battery_controls.h"

#include <sys/stat.h>

#include <algorithm>

#include "battery/charge_behaviour.h"
#include "battery/power_supply.h"

namespace torvel {

bool BatteryControls::offers(std::string_view behaviour) const {
    return std::find(behaviours.begin(), behaviours.end(), behaviour) != behaviours.end();
}

std::optional<std::string_view> BatteryControls::inhibitWord() const {
    if (offers(behaviourInhibit)) return behaviourInhibit;
    if (offers(behaviourInhibitAwake)) return behaviourInhibitAwake;
    return std::nullopt;
}

std::optional<std::string> BatteryControls::mode() const {
    const bool behaviour = inhibitWord().has_value();
    if (endThreshold && behaviour) return "thresholds+behaviour";
    if (endThreshold) return "thresholds";
    if (behaviour) return "behaviour";
    return std::nullopt;
}

bool attributeWritable(const std::filesystem::path& file) {
    struct stat info {};
    if (::lstat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
}

BatteryControls readBatteryControls(const std::filesystem::path& battery) {
    BatteryControls controls;
    controls.endThreshold = attributeWritable(battery / "charge_control_end_threshold");
    controls.startThreshold = attributeWritable(battery / "charge_control_start_threshold");
    if (attributeWritable(battery / "charge_behaviour")) {
        const auto text = readAttribute(battery / "charge_behaviour");
        if (auto parsed = text ? ChargeBehaviour::parse(*text) : std::nullopt) {
            controls.behaviours = parsed->offered;
        } else {
            controls.incomplete = true;
        }
    }
    return controls;
}

}  // namespace torvel
