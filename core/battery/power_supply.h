#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace torvel {

// Reading Linux's power-supply class (normally /sys/class/power_supply, moved by TORVEL_SYSFS): which supply
// is the machine's battery, whether mains power is present, and the battery's attributes in the units the
// rest of the system counts in. The app, torvelctl and the service all read through here, so they agree on
// every reading.

// One attribute's text, trimmed; absent when missing, unreadable, empty or larger than an attribute can be.
// A link in place of an attribute is never followed: the kernel does not make them.
std::optional<std::string> readAttribute(const std::filesystem::path& file);
std::optional<std::int64_t> readIntegerAttribute(const std::filesystem::path& file);

// A class directory's entries in name order, hidden ones left out; absent when it cannot be listed. The
// entries are links into /sys/devices, which is expected, and are followed.
std::optional<std::vector<std::filesystem::path>> listSupplies(const std::filesystem::path& directory);

// A battery that powers the machine, not a mouse's or a keyboard's.
bool isSystemBattery(const std::filesystem::path& supply);
// An online mains adapter or USB Power Delivery source.
bool suppliesMains(const std::filesystem::path& supply);

struct PowerSupplies {
    // The first system battery in name order, so BAT0 is the battery of a two-battery laptop.
    std::optional<std::filesystem::path> battery;
    bool onMains = false;
};
// Absent when the class directory cannot be listed.
std::optional<PowerSupplies> findPowerSupplies(const std::filesystem::path& powerSupply);

struct BatteryTemperature {
    double celsius = 0;
    // "temp", "hwmonN/temp1_input" or "thermal_zoneN", for the service's probe.
    std::string source;

    bool operator==(const BatteryTemperature&) const = default;
};

// One look at a battery. Values that cannot be read, or that no battery could report, are absent.
struct BatteryAttributes {
    // False until a battery has been read, and for a bay whose battery is out (`present` 0).
    bool batteryPresent = false;
    // Percent, 0 to 100.
    std::optional<int> capacity;
    // "Charging", "Discharging", "Not charging", "Full" or "Unknown", as the kernel words it.
    std::optional<std::string> status;
    // Absent when the driver does not count (it reports 0).
    std::optional<std::int64_t> cycleCount;
    std::optional<std::int64_t> voltageMillivolts;
    // A magnitude: ACPI does not sign it and the drivers that do disagree on the sign.
    std::optional<std::int64_t> currentMicroamps;
    std::optional<std::int64_t> fullChargeMah;
    std::optional<std::int64_t> designMah;
    std::optional<double> temperatureCelsius;

    // Negative while discharging. The direction comes from `status` alone, so without one it is absent.
    std::optional<std::int64_t> signedCurrentMilliamps() const;

    bool operator==(const BatteryAttributes&) const = default;
};

BatteryAttributes readBatteryAttributes(const std::filesystem::path& battery);

// Many drivers have no `temp`: the sensor may be an hwmon child of the battery (millidegrees) or a thermal
// zone named after it, in the thermal class beside the power-supply class.
std::optional<BatteryTemperature> batteryTemperature(const std::filesystem::path& battery);

}  // namespace torvel
