#include "battery/power_supply.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>

#include "common/numbers.h"
#include "common/syscalls.h"

namespace torvel {
namespace fs = std::filesystem;

namespace {

// The kernel hands out at most a page per attribute; more than that is not an attribute.
constexpr std::size_t attributeLimit = 4096;

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

std::optional<std::int64_t> positive(std::optional<std::int64_t> value) {
    if (!value || *value <= 0) return std::nullopt;
    return value;
}

// One rule for every micro-to-milli conversion: halves away from zero.
std::optional<std::int64_t> milli(std::optional<std::int64_t> micro) {
    if (!micro) return std::nullopt;
    return roundedInteger(static_cast<double>(*micro) / 1000.0);
}

bool isPeripheral(const fs::path& supply) {
    const std::string name = supply.filename().string();
    if (name.starts_with("hid-") || name.starts_with("hidpp_battery")) return true;
    return readAttribute(supply / "scope") == "Device";
}

std::optional<std::int64_t> ratioPercent(std::optional<std::int64_t> part,
                                         std::optional<std::int64_t> whole) {
    if (!part || !whole || *part <= 0 || *whole <= 0) return std::nullopt;
    return roundedInteger(static_cast<double>(*part) / static_cast<double>(*whole) * 100.0);
}

// The gauge's own percentage when it gives one in range; else what its counters say. A full battery reporting
// 110 is not empty, and a gauge counting a little past its learnt full capacity is full.
std::optional<int> chargePercent(const fs::path& battery) {
    if (auto capacity = readIntegerAttribute(battery / "capacity");
        capacity && *capacity >= 0 && *capacity <= 100)
        return static_cast<int>(*capacity);
    for (const auto& [now, full] :
         {std::pair{"energy_now", "energy_full"}, std::pair{"charge_now", "charge_full"}}) {
        const auto counted = readIntegerAttribute(battery / now);
        const auto whole = positive(readIntegerAttribute(battery / full));
        if (!counted || *counted < 0 || !whole) continue;
        const double ratio = static_cast<double>(*counted) / static_cast<double>(*whole);
        // Half as much again as full is no gauge's drift but a broken reading.
        if (ratio > 1.5) continue;
        return static_cast<int>(std::min<std::int64_t>(100, roundedInteger(ratio * 100.0).value_or(0)));
    }
    return std::nullopt;
}

// A negative reading comes from a driver that signs its values, and means out of the battery whatever the
// status says (some fuel gauges keep saying "Charging"); a positive one may be an ACPI magnitude, whose
// direction only the status gives.
std::optional<std::int64_t> directed(std::optional<std::int64_t> raw,
                                     const std::optional<std::string>& status) {
    if (!raw) return std::nullopt;
    if (*raw <= 0) return raw;
    if (!status) return std::nullopt;
    return *status == "Discharging" ? -*raw : *raw;
}

// mAh from a charge file (µAh), or from the matching energy file (µWh) over the minimum design voltage (µV),
// which is the voltage the battery's rated charge is quoted at.
std::optional<std::int64_t> capacityMah(const fs::path& battery, const char* charge, const char* energy,
                                        std::optional<std::int64_t> designMicrovolts) {
    if (auto value = positive(milli(readIntegerAttribute(battery / charge)))) return value;
    const auto microWattHours = positive(readIntegerAttribute(battery / energy));
    if (!microWattHours || !designMicrovolts) return std::nullopt;
    return positive(roundedInteger(static_cast<double>(*microWattHours) /
                                   static_cast<double>(*designMicrovolts) * 1000.0));
}

// mWh from an energy file (µWh), or from the charge file (µAh) times the minimum design voltage (µV).
std::optional<std::int64_t> capacityMwh(const fs::path& battery, const char* energy, const char* charge,
                                        std::optional<std::int64_t> designMicrovolts) {
    if (auto value = positive(milli(readIntegerAttribute(battery / energy)))) return value;
    const auto microAmpHours = positive(readIntegerAttribute(battery / charge));
    if (!microAmpHours || !designMicrovolts) return std::nullopt;
    return positive(
        roundedInteger(static_cast<double>(*microAmpHours) * static_cast<double>(*designMicrovolts) / 1e9));
}

template <typename T>
std::optional<T> sumOfAll(const std::vector<const BatteryAttributes*>& batteries,
                          std::optional<T> BatteryAttributes::*member) {
    T sum{};
    for (const auto* battery : batteries) {
        if (!(battery->*member)) return std::nullopt;
        sum += *(battery->*member);
    }
    return sum;
}

template <typename T>
std::optional<T> highest(const std::vector<const BatteryAttributes*>& batteries,
                         std::optional<T> BatteryAttributes::*member) {
    std::optional<T> top;
    for (const auto* battery : batteries) {
        if (battery->*member && (!top || *(battery->*member) > *top)) top = battery->*member;
    }
    return top;
}

}  // namespace

std::optional<std::string> readAttribute(const fs::path& file) {
    const FileDescriptor fd(retryOnInterrupt(
        [&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK); }));
    if (!fd.valid()) return std::nullopt;
    std::string text;
    char buffer[attributeLimit + 1];
    for (;;) {
        const ssize_t count = retryOnInterrupt([&] { return ::read(fd.get(), buffer, sizeof buffer); });
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > attributeLimit) return std::nullopt;
    }
    while (!text.empty() && isSpace(text.back())) text.pop_back();
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isSpace));
    if (text.empty()) return std::nullopt;
    return text;
}

std::optional<std::int64_t> readIntegerAttribute(const fs::path& file) {
    const auto text = readAttribute(file);
    if (!text) return std::nullopt;
    std::int64_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<std::vector<fs::path>> listSupplies(const fs::path& directory) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) return std::nullopt;
    std::vector<fs::path> supplies;
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        if (error) return std::nullopt;
        const fs::path& path = entries->path();
        if (!path.filename().string().starts_with('.')) supplies.push_back(path);
    }
    // Directory order is arbitrary; name order keeps the choice of battery stable.
    std::sort(supplies.begin(), supplies.end());
    return supplies;
}

bool isSystemBattery(const fs::path& supply) {
    return readAttribute(supply / "type") == "Battery" && !isPeripheral(supply);
}

bool suppliesMains(const fs::path& supply) {
    const auto type = readAttribute(supply / "type");
    // USB, USB_PD, USB_C...: a port that is online is a charger powering the machine, PD or not (`online` 2
    // is a programmable supply, still online).
    if (!type || (*type != "Mains" && !type->starts_with("USB"))) return false;
    // A port that charges a phone (scope Device) is not powering the machine.
    return !isPeripheral(supply) && readIntegerAttribute(supply / "online").value_or(0) > 0;
}

std::optional<PowerSupplies> findPowerSupplies(const fs::path& powerSupply) {
    const auto supplies = listSupplies(powerSupply);
    if (!supplies) return std::nullopt;
    PowerSupplies found;
    for (const auto& supply : *supplies) {
        if (isSystemBattery(supply)) {
            found.batteries.push_back(supply);
        } else if (!found.onMains && suppliesMains(supply)) {
            found.onMains = true;
        }
    }
    return found;
}

std::optional<BatteryTemperature> batteryTemperature(const fs::path& battery) {
    if (auto tenths = readIntegerAttribute(battery / "temp"))
        return BatteryTemperature{static_cast<double>(*tenths) / 10.0, "temp"};
    for (const auto& entry : listSupplies(battery).value_or(std::vector<fs::path>{})) {
        const std::string name = entry.filename().string();
        if (!name.starts_with("hwmon")) continue;
        if (auto milli = readIntegerAttribute(entry / "temp1_input"))
            return BatteryTemperature{static_cast<double>(*milli) / 1000.0, name + "/temp1_input"};
    }
    const fs::path thermal = battery.parent_path().parent_path() / "thermal";
    for (const auto& zone : listSupplies(thermal).value_or(std::vector<fs::path>{})) {
        const std::string name = zone.filename().string();
        if (!name.starts_with("thermal_zone")) continue;
        std::string type = readAttribute(zone / "type").value_or("");
        std::transform(type.begin(), type.end(), type.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (type.find("bat") == std::string::npos) continue;
        if (auto milli = readIntegerAttribute(zone / "temp"))
            return BatteryTemperature{static_cast<double>(*milli) / 1000.0, name};
    }
    return std::nullopt;
}

std::optional<std::int64_t> BatteryAttributes::currentMilliamps() const {
    return milli(currentMicroamps);
}

BatteryAttributes readBatteryAttributes(const fs::path& battery) {
    BatteryAttributes attributes;
    attributes.name = battery.filename().string();
    attributes.batteryPresent = readIntegerAttribute(battery / "present").value_or(1) != 0;
    if (!attributes.batteryPresent) return attributes;
    attributes.capacity = chargePercent(battery);
    attributes.status = readAttribute(battery / "status");
    attributes.cycleCount = positive(readIntegerAttribute(battery / "cycle_count"));
    const auto microVolts = positive(readIntegerAttribute(battery / "voltage_now"));
    attributes.voltageMillivolts = milli(microVolts);
    const auto current = directed(readIntegerAttribute(battery / "current_now"), attributes.status);
    const auto power = directed(readIntegerAttribute(battery / "power_now"), attributes.status);
    attributes.currentMicroamps = current;
    if (!current && power && microVolts) {
        attributes.currentMicroamps =
            roundedInteger(static_cast<double>(*power) / static_cast<double>(*microVolts) * 1e6);
    }
    attributes.powerMicrowatts = power;
    if (!power && current && microVolts) {
        attributes.powerMicrowatts =
            roundedInteger(static_cast<double>(*current) * static_cast<double>(*microVolts) / 1e6);
    }
    const auto designVolts = positive(readIntegerAttribute(battery / "voltage_min_design"));
    attributes.fullChargeMah = capacityMah(battery, "charge_full", "energy_full", designVolts);
    attributes.designMah = capacityMah(battery, "charge_full_design", "energy_full_design", designVolts);
    attributes.fullEnergyMwh = capacityMwh(battery, "energy_full", "charge_full", designVolts);
    attributes.designEnergyMwh =
        capacityMwh(battery, "energy_full_design", "charge_full_design", designVolts);
    attributes.healthPercent = ratioPercent(readIntegerAttribute(battery / "charge_full"),
                                            readIntegerAttribute(battery / "charge_full_design"));
    if (!attributes.healthPercent) {
        attributes.healthPercent = ratioPercent(readIntegerAttribute(battery / "energy_full"),
                                                readIntegerAttribute(battery / "energy_full_design"));
    }
    if (auto temperature = batteryTemperature(battery)) attributes.temperatureCelsius = temperature->celsius;
    return attributes;
}

BatteryAttributes combineBatteries(const std::vector<BatteryAttributes>& batteries) {
    std::vector<const BatteryAttributes*> present;
    for (const auto& battery : batteries) {
        if (battery.batteryPresent) present.push_back(&battery);
    }
    if (present.empty()) return {};
    if (present.size() == 1) return *present.front();

    BatteryAttributes whole;
    whole.batteryPresent = true;
    // Weighted by what each holds when full, the whole's charge is the energy in it over the energy it holds.
    const bool byEnergy = sumOfAll(present, &BatteryAttributes::fullEnergyMwh).has_value();
    const bool byCharge = sumOfAll(present, &BatteryAttributes::fullChargeMah).has_value();
    double weighted = 0, weights = 0;
    bool everyCharge = true;
    for (const auto* battery : present) {
        const double weight = byEnergy   ? static_cast<double>(*battery->fullEnergyMwh)
                              : byCharge ? static_cast<double>(*battery->fullChargeMah)
                                         : 1.0;
        everyCharge = everyCharge && battery->capacity.has_value();
        weighted += battery->capacity.value_or(0) * weight;
        weights += weight;
    }
    if (everyCharge) whole.capacity = static_cast<int>(roundedInteger(weighted / weights).value_or(0));

    const auto anyStatus = [&](const char* word) {
        return std::any_of(present.begin(), present.end(), [&](const auto* b) { return b->status == word; });
    };
    if (anyStatus("Charging")) {
        whole.status = "Charging";
    } else if (anyStatus("Discharging")) {
        whole.status = "Discharging";
    } else {
        for (const auto* battery : present) {
            if (!whole.status) whole.status = battery->status;
        }
    }
    whole.cycleCount = highest(present, &BatteryAttributes::cycleCount);
    whole.temperatureCelsius = highest(present, &BatteryAttributes::temperatureCelsius);
    whole.currentMicroamps = sumOfAll(present, &BatteryAttributes::currentMicroamps);
    whole.powerMicrowatts = sumOfAll(present, &BatteryAttributes::powerMicrowatts);
    whole.fullChargeMah = sumOfAll(present, &BatteryAttributes::fullChargeMah);
    whole.designMah = sumOfAll(present, &BatteryAttributes::designMah);
    whole.fullEnergyMwh = sumOfAll(present, &BatteryAttributes::fullEnergyMwh);
    whole.designEnergyMwh = sumOfAll(present, &BatteryAttributes::designEnergyMwh);
    whole.healthPercent = ratioPercent(whole.fullChargeMah, whole.designMah);
    if (!whole.healthPercent) whole.healthPercent = ratioPercent(whole.fullEnergyMwh, whole.designEnergyMwh);
    return whole;
}

}  // namespace torvel
