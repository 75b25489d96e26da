#include "battery/sysfs_reader.h"

#include "battery/power_supply.h"

namespace torvel {
namespace {

PowerSourceKeys describe(const BatteryAttributes& battery, bool onMains) {
    PowerSourceKeys keys;
    keys.set("Type", "InternalBattery");
    if (battery.capacity) keys.set("Current Capacity", std::int64_t{*battery.capacity});
    // sysfs capacity is already a percentage.
    keys.set("Max Capacity", std::int64_t{100});
    if (battery.status) keys.set("Is Charging", *battery.status == "Charging");
    keys.set("Power Source State", onMains ? "AC Power" : "Battery Power");
    return keys;
}

PowerSourceKeys properties(const BatteryAttributes& battery) {
    PowerSourceKeys keys;
    if (battery.cycleCount) keys.set("CycleCount", *battery.cycleCount);
    // Tenths of a kelvin; the half tenth is kept so 30.0 °C stays 30.0 °C.
    if (battery.temperatureCelsius) keys.set("Temperature", *battery.temperatureCelsius * 10.0 + 2731.5);
    if (battery.voltageMillivolts) keys.set("Voltage", *battery.voltageMillivolts);
    if (auto milliamps = battery.signedCurrentMilliamps()) keys.set("Amperage", *milliamps);
    if (battery.fullChargeMah) keys.set("AppleRawMaxCapacity", *battery.fullChargeMah);
    if (battery.designMah) keys.set("DesignCapacity", *battery.designMah);
    return keys;
}

}  // namespace

PowerSupplyReading readPowerSupplies(const std::filesystem::path& powerSupply) {
    const auto supplies = findPowerSupplies(powerSupply);
    if (!supplies) return {};
    PowerSupplyReading reading;
    reading.powerSources.emplace();
    if (supplies->battery) {
        const BatteryAttributes battery = readBatteryAttributes(*supplies->battery);
        reading.powerSources->push_back(describe(battery, supplies->onMains));
        reading.smartBattery = properties(battery);
    }
    return reading;
}

}  // namespace torvel
