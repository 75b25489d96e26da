#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "battery/snapshot.h"

namespace torvel {

// The two dictionaries as Linux's power-supply class yields them.
struct PowerSupplyReading {
    // Absent when the class directory cannot be listed; empty when it holds no usable battery.
    std::optional<std::vector<PowerSourceKeys>> powerSources;
    // The chosen battery's properties; absent when there is none.
    std::optional<PowerSourceKeys> smartBattery;

    bool operator==(const PowerSupplyReading&) const = default;
};

// The battery of a power-supply class directory (see power_supply.h) as the keys the conversion rules read.
// Unreadable attributes omit their key.
PowerSupplyReading readPowerSupplies(const std::filesystem::path& powerSupply);

}  // namespace torvel
