#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "battery/snapshot.h"

namespace torvel {

// The two dictionaries as Linux's power-supply class yields them.
struct PowerSupplyReading {
    // Absent when the class directory cannot be listed; empty when it holds no battery whose charge can be
    // read.
    std::optional<std::vector<PowerSourceKeys>> powerSources;
    // The batteries' properties, taken as one; absent when no bay holds one.
    std::optional<PowerSourceKeys> smartBattery;

    bool operator==(const PowerSupplyReading&) const = default;
};

// The batteries of a power-supply class directory (see power_supply.h), taken as one, as the keys the
// conversion rules read. Unreadable attributes omit their key.
PowerSupplyReading readPowerSupplies(const std::filesystem::path& powerSupply);

}  // namespace torvel
