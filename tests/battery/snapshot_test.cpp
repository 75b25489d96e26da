#include "battery/snapshot.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvel {
namespace {

PowerSourceKeys battery(std::optional<PowerSourceValue> current, std::optional<PowerSourceValue> max) {
    PowerSourceKeys keys;
    keys.set("Type", "InternalBattery");
    if (current) keys.set("Current Capacity", *current);
    if (max) keys.set("Max Capacity", *max);
    return keys;
}

TEST(ReadPowerSource, PercentageFromCurrentAndMaxCapacity) {
    struct Case {
        std::optional<PowerSourceValue> current, max;
        std::int64_t percentage;
    };
    const std::vector<Case> cases = {
        {57, 100, 57},
        {2990, 4000, 75},        // 74.75 rounds up
        {1, 8, 13},              // 12.5: halves away from zero
        {-1, 8, -13},            //
        {42, std::nullopt, 42},  // missing max means 100
        {42, "4000", 42},        // so does a max that is not an integer
        {42, 0.5, 42},           //
        {57, 0, 57},             // a max of zero or less leaves current unchanged
        {57, -4, 57},            //
        {std::nullopt, 100, 0},  // missing current counts as 0
        {true, 100, 0},          //
        {4400, 4000, 110},       // no clamp
    };
    for (const auto& c : cases) {
        const auto snapshot = readPowerSource(battery(c.current, c.max));
        ASSERT_TRUE(snapshot);
        EXPECT_EQ(snapshot->percentage, c.percentage) << c.percentage;
    }
}

TEST(ReadPowerSource, PluggedOnlyOnAcPowerAndChargingOnlyOnTrue) {
    struct Case {
        std::optional<PowerSourceValue> state, charging;
        bool plugged, isCharging;
    };
    const std::vector<Case> cases = {
        {"AC Power", true, true, true},
        {"Battery Power", false, false, false},
        {"ac power", 1, false, false},
        {true, "true", false, false},
        {std::nullopt, std::nullopt, false, false},
    };
    for (const auto& c : cases) {
        auto keys = battery(50, 100);
        if (c.state) keys.set("Power Source State", *c.state);
        if (c.charging) keys.set("Is Charging", *c.charging);
        const auto snapshot = readPowerSource(keys);
        ASSERT_TRUE(snapshot);
        EXPECT_EQ(snapshot->isPluggedIn, c.plugged);
        EXPECT_EQ(snapshot->isCharging, c.isCharging);
        EXPECT_FALSE(snapshot->cycleCount || snapshot->healthPercent || snapshot->temperatureCelsius ||
                     snapshot->powerWatts || snapshot->adapterWatts);
    }
}

TEST(ReadPowerSources, UsesTheFirstInternalBatteryOnly) {
    PowerSourceKeys ups;
    ups.set("Type", "UPS");
    ups.set("Current Capacity", 12);
    PowerSourceKeys untyped;
    untyped.set("Current Capacity", 99);
    PowerSourceKeys mistyped;
    mistyped.set("Type", 1);
    mistyped.set("Current Capacity", 98);

    EXPECT_FALSE(readPowerSources(std::vector<PowerSourceKeys>{}));
    EXPECT_FALSE(readPowerSources(std::vector{ups, untyped, mistyped}));
    const auto snapshot = readPowerSources(std::vector{ups, untyped, battery(57, 100), battery(12, 100)});
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->percentage, 57);
}

PowerSourceKeys properties(std::initializer_list<std::pair<const char*, PowerSourceValue>> entries) {
    PowerSourceKeys keys;
    for (const auto& [key, value] : entries) keys.set(key, value);
    return keys;
}

TEST(SmartBattery, TemperatureKeptOnlyStrictlyInsideMinus20To100) {
    struct Case {
        PowerSourceValue tenthsKelvin;
        std::optional<double> celsius;
    };
    const std::vector<Case> cases = {
        {3031, 29.95},  {3732, std::nullopt}, {2531, std::nullopt}, {3731, 99.95},
        {2532, -19.95}, {2530, std::nullopt}, {3032.5, 30.1},       {"3031", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto celsius = SmartBattery::temperatureCelsius(properties({{"Temperature", c.tenthsKelvin}}));
        ASSERT_EQ(celsius.has_value(), c.celsius.has_value()) << c.celsius.value_or(-999);
        if (c.celsius) {
            EXPECT_NEAR(*celsius, *c.celsius, 1e-9);
        }
    }
    EXPECT_FALSE(SmartBattery::temperatureCelsius({}));
}

TEST(SmartBattery, WattsFromPlausibleAmperageAndVoltage) {
    struct Case {
        std::optional<PowerSourceValue> amperage, voltage;
        std::optional<double> watts;
    };
    const std::vector<Case> cases = {
        {-1500, 12600, -18.9},
        {1500, 12600, 18.9},
        {19999, 1000, 19.999},
        {-19999, 1000, -19.999},
        {20000, 12600, std::nullopt},
        {-20000, 12600, std::nullopt},
        {-1500.9, 12600, -18.9},  // a fractional reading is truncated toward zero
        {-1500, 0, std::nullopt},
        {-1500, -12600, std::nullopt},
        {std::nullopt, 12600, std::nullopt},
        {-1500, std::nullopt, std::nullopt},
        {"-1500", 12600, std::nullopt},
        {0, 12600, 0.0},
    };
    for (const auto& c : cases) {
        PowerSourceKeys keys;
        if (c.amperage) keys.set("Amperage", *c.amperage);
        if (c.voltage) keys.set("Voltage", *c.voltage);
        const auto watts = SmartBattery::watts(keys);
        ASSERT_EQ(watts.has_value(), c.watts.has_value()) << c.watts.value_or(-999);
        if (c.watts) {
            EXPECT_DOUBLE_EQ(*watts, *c.watts);
        }
    }
}

TEST(SmartBattery, HealthFromFullOverDesignWithTheFloorAndBatteryDataFallback) {
    PowerSourceKeys designOnlyInside;
    designOnlyInside.set("AppleRawMaxCapacity", 4300);
    designOnlyInside.set("BatteryData", properties({{"DesignCapacity", 4382}}));
    PowerSourceKeys mistypedTop;
    mistypedTop.set("AppleRawMaxCapacity", 4300);
    mistypedTop.set("DesignCapacity", "4382");
    mistypedTop.set("BatteryData", properties({{"DesignCapacity", 5000}}));

    struct Case {
        const char* name;
        PowerSourceKeys keys;
        std::optional<std::int64_t> health;
    };
    const std::vector<Case> cases = {
        {"raw below floor falls back to nominal",
         properties(
             {{"AppleRawMaxCapacity", 150}, {"NominalChargeCapacity", 4300}, {"DesignCapacity", 4382}}),
         98},
        {"raw preferred over nominal",
         properties(
             {{"AppleRawMaxCapacity", 4000}, {"NominalChargeCapacity", 4300}, {"DesignCapacity", 5000}}),
         80},
        {"design only inside BatteryData", designOnlyInside, 98},
        {"mistyped top level looks inside", mistypedTop, 86},
        {"201 counts", properties({{"AppleRawMaxCapacity", 201}, {"DesignCapacity", 402}}), 50},
        {"200 does not", properties({{"AppleRawMaxCapacity", 4000}, {"DesignCapacity", 200}}), std::nullopt},
        {"no full capacity", properties({{"DesignCapacity", 4382}}), std::nullopt},
        {"no design capacity", properties({{"AppleRawMaxCapacity", 4300}}), std::nullopt},
        {"no upper clamp", properties({{"AppleRawMaxCapacity", 4400}, {"DesignCapacity", 4000}}), 110},
        {"rounds half away", properties({{"AppleRawMaxCapacity", 2025}, {"DesignCapacity", 4000}}), 51},
    };
    for (const auto& c : cases) EXPECT_EQ(SmartBattery::healthPercent(c.keys), c.health) << c.name;
}

TEST(SmartBattery, AdapterWattsOnlyFromAPositiveIntegerInAdapterDetails) {
    struct Case {
        std::optional<PowerSourceValue> watts;
        std::optional<std::int64_t> expected;
    };
    const std::vector<Case> cases = {{96, 96},
                                     {1, 1},
                                     {0, std::nullopt},
                                     {-5, std::nullopt},
                                     {96.0, std::nullopt},
                                     {std::nullopt, std::nullopt}};
    for (const auto& c : cases) {
        PowerSourceKeys adapter;
        if (c.watts) adapter.set("Watts", *c.watts);
        PowerSourceKeys keys;
        keys.set("AdapterDetails", adapter);
        EXPECT_EQ(SmartBattery::adapterWatts(keys), c.expected);
    }
    EXPECT_FALSE(SmartBattery::adapterWatts(properties({{"AdapterDetails", 96}})));
    EXPECT_FALSE(SmartBattery::adapterWatts(properties({{"Watts", 96}})));
}

TEST(Merge, PowerSourcesReplaceTheBasicsAndSmartReadingTheOptionals) {
    BatterySnapshot previous;
    previous.percentage = 80;
    previous.isCharging = true;
    previous.isPluggedIn = true;
    previous.cycleCount = 300;
    previous.healthPercent = 91;
    previous.temperatureCelsius = 31.5;
    previous.powerWatts = 12.0;
    previous.adapterWatts = 96;
    BatterySnapshot read;
    read.percentage = 79;
    SmartBatteryReading smart;
    smart.cycleCount = 301;
    smart.temperatureCelsius = 30.0;

    // Both read: the power-source basics with exactly the smart values, absent ones included.
    BatterySnapshot both = read;
    both.cycleCount = 301;
    both.temperatureCelsius = 30.0;
    EXPECT_EQ(merge(previous, read, smart), both);
    // No controller: a fresh power-source reading carries no optionals.
    EXPECT_EQ(merge(previous, read, std::nullopt), read);
    // No power sources (a UPS-only list): the previous basics survive under the new smart values.
    BatterySnapshot expected = previous;
    expected.cycleCount = 301;
    expected.healthPercent = std::nullopt;
    expected.temperatureCelsius = 30.0;
    expected.powerWatts = std::nullopt;
    expected.adapterWatts = std::nullopt;
    EXPECT_EQ(merge(previous, std::nullopt, smart), expected);
    // Neither: everything survives.
    EXPECT_EQ(merge(previous, std::nullopt, std::nullopt), previous);
}

TEST(PlugInEdge, OnlyUnpluggedToPluggedAfterTheFirstReading) {
    struct Case {
        const char* name;
        std::vector<bool> readings;
        std::vector<bool> edges;
    };
    const std::vector<Case> cases = {
        {"starting plugged in", {true, true, true}, {false, false, false}},
        {"plugged in after start", {false, true, true, true}, {false, true, false, false}},
        {"each replug", {false, true, false, true}, {false, true, false, true}},
        {"unplugging", {true, false, false}, {false, false, false}},
    };
    for (const auto& c : cases) {
        PlugInEdge edge;
        BatterySnapshot current;
        for (std::size_t i = 0; i < c.readings.size(); ++i) {
            BatterySnapshot next;
            next.isPluggedIn = c.readings[i];
            EXPECT_EQ(edge.observe(current, next), c.edges[i]) << c.name << " at reading " << i;
            current = next;
        }
        EXPECT_TRUE(edge.pluggedKnown());
    }
}

}  // namespace
}  // namespace torvel
