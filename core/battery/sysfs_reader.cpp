#include "battery/sysfs_reader.h"

#include "battery/power_supply.h"

namespace torvel {
namespace {

PowerSourceKeys describe(const BatteryAttributes& battery, bool onMains) {
    PowerSourceKeys keys;
    keys.set("Type", "InternalBattery");
    keys.set("Current Capacity", std::int64_t{*battery.capacity});
    // The charge is already a percentage.
    keys.set("Max Capacity", std::int64_t{100});
    if (battery.status) keys.set("Is Charging", battery.charging());
    keys.set("Power Source State", onMains ? "AC Power" : "Battery Power");
    return keys;
}

PowerSourceKeys properties(const BatteryAttributes& battery) {
    PowerSourceKeys keys;
    if (battery.cycleCount) keys.set("CycleCount", *battery.cycleCount);
    // Tenths of a kelvin; the half tenth is kept so 30.0 °C stays 30.0 °C.
    if (battery.temperatureCelsius) keys.set("Temperature", *battery.temperatureCelsius * 10.0 + 2731.5);
    const auto milliamps = battery.currentMilliamps();
    if (battery.voltageMillivolts && milliamps) {
        keys.set("Voltage", *battery.voltageMillivolts);
        keys.set("Amperage", *milliamps);
    } else if (battery.powerMicrowatts) {
        keys.set("Power", (*battery.powerMicrowatts + (*battery.powerMicrowatts < 0 ? -500 : 500)) / 1000);
    }
    if (battery.fullChargeMah) keys.set("AppleRawMaxCapacity", *battery.fullChargeMah);
    if (battery.designMah) keys.set("DesignCapacity", *battery.designMah);
    if (battery.fullEnergyMwh) keys.set("FullChargeEnergy", *battery.fullEnergyMwh);
    if (battery.designEnergyMwh) keys.set("DesignEnergy", *battery.designEnergyMwh);
    return keys;
}

}  // namespace

PowerSupplyReading readPowerSupplies(const std::filesystem::path& powerSupply) {
    const auto supplies = findPowerSupplies(powerSupply);
    if (!supplies) return {};
    std::vector<BatteryAttributes> batteries;
    for (const auto& battery : supplies->batteries) batteries.push_back(readBatteryAttributes(battery));
    const BatteryAttributes whole = combineBatteries(batteries);
    PowerSupplyReading reading;
    reading.powerSources.emplace();
    if (!whole.batteryPresent) return reading;
    // A charge nobody can read is no 0 %: without a description the last known reading stands.
    if (whole.capacity) reading.powerSources->push_back(describe(whole, supplies->onMains));
    reading.smartBattery = properties(whole);
    return reading;
}

}  // namespace torvel
