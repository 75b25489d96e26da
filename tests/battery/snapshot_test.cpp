#include "battery/snapshot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace torvel {
namespace {

using Value = std::optional<PowerSourceValue>;

PowerSourceKeys keys(std::initializer_list<std::pair<const char*, Value>> entries) {
    PowerSourceKeys result;
    for (const auto& [key, value] : entries) {
        if (value) result.set(key, *value);
    }
    return result;
}

// Every conversion is exact to the thousandth, so readings are compared there.
std::optional<double> milli(std::optional<double> value) {
    return value ? std::optional(std::round(*value * 1000) / 1000) : std::nullopt;
}

TEST(ReadPowerSources, InternalBatteryDescriptionToBasics) {
    struct Case {
        Value current, max, state, charging;
        std::int64_t percentage;
        bool plugged, isCharging;
    };
    // clang-format off
    const Case cases[] = {
        {57, 100, "AC Power", true, 57, true, true},
        {2990, 4000, "Battery Power", false, 75, false, false},  // 74.75 rounds up
        {1, 8, "ac power", 1, 13, false, false},                  // 12.5: half away from zero
        {-1, 8, true, "true", -13, false, false},
        {42, {}, {}, {}, 42, false, false},                       // max missing or mistyped counts as 100
        {42, 0.5, {}, {}, 42, false, false},
        {57, 0, {}, {}, 57, false, false},                        // max 0 or below: current as it is
        {57, -4, {}, {}, 57, false, false},
        {{}, 100, {}, {}, 0, false, false},
        {4400, 4000, {}, {}, 110, false, false},
    };
    // clang-format on
    for (const auto& c : cases) {
        const auto battery = keys({{"Type", "InternalBattery"},
                                   {"Current Capacity", c.current},
                                   {"Max Capacity", c.max},
                                   {"Power Source State", c.state},
                                   {"Is Charging", c.charging}});
        BatterySnapshot expected;
        expected.percentage = c.percentage;
        expected.isPluggedIn = c.plugged;
        expected.isCharging = c.isCharging;
        EXPECT_EQ(readPowerSources(std::vector{keys({{"Type", "UPS"}}), battery, keys({})}), expected)
            << c.percentage;
    }
    EXPECT_FALSE(readPowerSources(std::vector{keys({{"Type", "UPS"}}), keys({{"Type", 1}}), keys({})}));
}

TEST(SmartBattery, ImplausibleReadingsAreAbsent) {
    struct Case {
        Value temperature, amperage, voltage;
        std::optional<double> celsius, watts;
    };
    // clang-format off
    const Case cases[] = {
        {3031, -1500, 12600, 29.95, -18.9},
        {3732, 1500, 12600, {}, 18.9},           // 100.05 °C
        {2531, 19999, 1000, {}, 19.999},         // -20.05 °C
        {3731, 20000, 12600, 99.95, {}},         // 20 A
        {2532, -20000, 12600, -19.95, {}},
        {3032.5, -1500.9, 12600, 30.1, -18.9},   // fractions: tenths kept, milliamperes truncated
        {"3031", -1500, 0, {}, {}},              // voltage must be positive
        {{}, "-1500", 12600, {}, {}},
    };
    // clang-format on
    for (const auto& c : cases) {
        const auto battery =
            keys({{"Temperature", c.temperature}, {"Amperage", c.amperage}, {"Voltage", c.voltage}});
        const auto reading = SmartBattery::reading(battery);
        EXPECT_EQ(milli(reading.temperatureCelsius), c.celsius) << c.temperature.has_value();
        EXPECT_EQ(milli(reading.powerWatts), c.watts) << c.amperage.has_value();
    }
}

TEST(SmartBattery, HealthWithTheCapacityFloorAndBatteryDataFallback) {
    auto insideOnly = keys({{"AppleRawMaxCapacity", 4300}, {"DesignCapacity", "4382"}});
    insideOnly.set("BatteryData", keys({{"DesignCapacity", 4382}}));
    struct Case {
        PowerSourceKeys battery;
        std::optional<std::int64_t> health;
    };
    const Case cases[] = {
        {keys({{"AppleRawMaxCapacity", 150}, {"NominalChargeCapacity", 4300}, {"DesignCapacity", 4382}}), 98},
        {keys({{"AppleRawMaxCapacity", 4000}, {"NominalChargeCapacity", 4300}, {"DesignCapacity", 5000}}),
         80},
        {insideOnly, 98},
        {keys({{"AppleRawMaxCapacity", 201}, {"DesignCapacity", 402}}), 50},
        {keys({{"AppleRawMaxCapacity", 4000}, {"DesignCapacity", 200}}), std::nullopt},
        {keys({{"DesignCapacity", 4382}}), std::nullopt},
        {keys({{"AppleRawMaxCapacity", 4400}, {"DesignCapacity", 4000}}), 110},
        {keys({{"AppleRawMaxCapacity", 2025}, {"DesignCapacity", 4000}}), 51},
    };
    for (const auto& c : cases) EXPECT_EQ(SmartBattery::healthPercent(c.battery), c.health);
}

TEST(SmartBattery, AdapterWattsOnlyFromAPositiveIntegerInAdapterDetails) {
    const std::pair<Value, std::optional<std::int64_t>> cases[] = {{96, 96}, {1, 1},     {0, {}},
                                                                   {-5, {}}, {96.0, {}}, {{}, {}}};
    for (const auto& [watts, expected] : cases) {
        PowerSourceKeys battery;
        battery.set("AdapterDetails", keys({{"Watts", watts}}));
        EXPECT_EQ(SmartBattery::adapterWatts(battery), expected);
    }
    EXPECT_FALSE(SmartBattery::adapterWatts(keys({{"AdapterDetails", 96}, {"Watts", 96}})));
}

TEST(Merge, SmartValuesReplaceTheOptionalsAndAFailedReadKeepsThePrevious) {
    BatterySnapshot previous;
    previous.percentage = 80;
    previous.isPluggedIn = true;
    previous.cycleCount = 300;
    previous.healthPercent = 91;
    BatterySnapshot read;
    read.percentage = 79;
    SmartBatteryReading smart;
    smart.cycleCount = 301;

    BatterySnapshot both = read;
    both.cycleCount = 301;
    EXPECT_EQ(merge(previous, read, smart), both);
    EXPECT_EQ(merge(previous, read, std::nullopt), read);
    BatterySnapshot survived = previous;
    survived.cycleCount = 301;
    survived.healthPercent = std::nullopt;
    EXPECT_EQ(merge(previous, std::nullopt, smart), survived);
    EXPECT_EQ(merge(previous, std::nullopt, std::nullopt), previous);
}

TEST(PlugInEdge, OnlyUnpluggedToPluggedAfterTheFirstReading) {
    const std::pair<std::vector<bool>, std::vector<bool>> cases[] = {
        {{true, true, true}, {false, false, false}},
        {{false, true, true}, {false, true, false}},
        {{false, true, false, true}, {false, true, false, true}},
        {{true, false, false}, {false, false, false}},
    };
    for (const auto& [readings, edges] : cases) {
        PlugInEdge edge;
        BatterySnapshot current;
        for (std::size_t i = 0; i < readings.size(); ++i) {
            BatterySnapshot next;
            next.isPluggedIn = readings[i];
            EXPECT_EQ(edge.observe(current, next), edges[i]) << "reading " << i;
            current = next;
        }
    }
}

}  // namespace
}  // namespace torvel
