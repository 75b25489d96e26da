#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvel {

// Reading Linux's power-supply class (normally /sys/class/power_supply, moved by TORVEL_SYSFS): which
// supplies are the machine's batteries, whether mains power is present, and each battery's attributes in the
// units the rest of the system counts in. The app, torvelctl and the service all read through here, so they
// agree on every reading.

// One attribute's text, trimmed; absent when missing, unreadable, empty or larger than an attribute can be.
// A link in place of an attribute is never followed: the kernel does not make them.
std::optional<std::string> readAttribute(const std::filesystem::path& file);
std::optional<std::int64_t> readIntegerAttribute(const std::filesystem::path& file);

// A class directory's entries in name order, hidden ones left out; absent when it cannot be listed. The
// entries are links into /sys/devices, which is expected, and are followed.
std::optional<std::vector<std::filesystem::path>> listSupplies(const std::filesystem::path& directory);

// A battery that powers the machine, not a mouse's or a keyboard's; its bay may be empty.
bool isSystemBattery(const std::filesystem::path& supply);
// An online mains adapter or USB supply (a Type-C charger powers the machine whether or not it speaks PD).
bool suppliesMains(const std::filesystem::path& supply);

struct PowerSupplies {
    // Every system battery in name order, empty bays included, so BAT0 comes before BAT1.
    std::vector<std::filesystem::path> batteries;
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

// One look at a battery, or at several taken as one. Values that cannot be read, or that no battery could
// report, are absent.
struct BatteryAttributes {
    // The supply's name ("BAT0"); empty for several batteries taken as one.
    std::string name;
    // False until a battery has been read, and for a bay whose battery is out (`present` 0).
    bool batteryPresent = false;
    // Percent, 0 to 100: the gauge's own `capacity`, or its counters (now over full) when it has no capacity
    // in range. A gauge counting a little past full reads 100, never more.
    std::optional<int> capacity;
    // "Charging", "Discharging", "Not charging", "Full" or "Unknown", as the kernel words it.
    std::optional<std::string> status;
    // Absent when the driver does not count (it reports 0).
    std::optional<std::int64_t> cycleCount;
    std::optional<std::int64_t> voltageMillivolts;
    // Positive into the battery, negative out of it. A driver that signs its readings is believed whatever
    // its status says; an unsigned one (ACPI) gets its direction from the status.
    std::optional<std::int64_t> currentMicroamps;
    std::optional<std::int64_t> powerMicrowatts;
    // Capacities in mAh (charge files, or energy over the minimum design voltage) and in mWh (energy files,
    // or charge times that voltage).
    std::optional<std::int64_t> fullChargeMah;
    std::optional<std::int64_t> designMah;
    std::optional<std::int64_t> fullEnergyMwh;
    std::optional<std::int64_t> designEnergyMwh;
    // Full over design from two counters of the same kind, so an energy gauge needs no design voltage.
    std::optional<std::int64_t> healthPercent;
    std::optional<double> temperatureCelsius;

    bool charging() const { return status == "Charging"; }
    std::optional<std::int64_t> currentMilliamps() const;

    bool operator==(const BatteryAttributes&) const = default;
};

BatteryAttributes readBatteryAttributes(const std::filesystem::path& battery);

// The batteries in their bays taken as one, as the desktop shows them: the charge weighted by what each holds
// when full (equal weights when one does not say), capacities added, the hottest temperature, the highest
// cycle count, charging when one charges. Empty bays count for nothing; with none in place nothing is
// present.
BatteryAttributes combineBatteries(const std::vector<BatteryAttributes>& batteries);

// Many drivers have no `temp`: the sensor may be an hwmon child of the battery (millidegrees) or a thermal
// zone named after it, in the thermal class beside the power-supply class.
std::optional<BatteryTemperature> batteryTemperature(const std::filesystem::path& battery);

}  // namespace torvel
