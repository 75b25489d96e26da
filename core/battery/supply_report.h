#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "battery/battery_controls.h"
#include "battery/power_supply.h"

namespace torvel {

// Everything the power-supply class shows and what the product makes of it, supply by supply: the first thing
// to look at when a laptop reads wrong.
struct SupplyReport {
    struct Supply {
        std::string name;
        // "battery", "empty bay", "peripheral", "mains", "mains (offline)" or "other".
        std::string role;
        // Every attribute that could be read, in name order, as the kernel words it.
        std::vector<std::pair<std::string, std::string>> attributes;
        // For a system battery in its bay: the reading derived from the attributes.
        std::optional<BatteryAttributes> reading;
        std::optional<BatteryControls> controls;
        bool controlled = false;
        // Why the service holds its limit on this battery, or does not.
        std::string why;
    };

    std::vector<Supply> supplies;
    bool onMains = false;
    // The batteries taken as one: what the panel, the journal and the status show.
    BatteryAttributes whole;
};

// Absent when the class directory cannot be listed.
std::optional<SupplyReport> reportPowerSupplies(const std::filesystem::path& powerSupply);

}  // namespace torvel
