#include "battery/sysfs_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>

namespace torvel {
namespace {

namespace fs = std::filesystem;

const fs::path fixtures = fs::path(TORVEL_FIXTURES) / "power_supply";

// The keys a reader produced, with every optional snapshot value the conversion rules make of them.
struct Converted {
    std::optional<BatterySnapshot> powerSources;
    std::optional<SmartBatteryReading> smart;
};

Converted convert(const PowerSupplyReading& reading) {
    Converted converted;
    if (reading.powerSources) converted.powerSources = readPowerSources(*reading.powerSources);
    if (reading.smartBattery) converted.smart = SmartBattery::reading(*reading.smartBattery);
    return converted;
}

// Every conversion is exact to the thousandth, so readings are compared there.
std::optional<double> milli(std::optional<double> value) {
    return value ? std::optional(std::round(*value * 1000) / 1000) : std::nullopt;
}

TEST(SysfsReader, FixtureMachinesGiveTheirReadings) {
    struct Case {
        const char* machine;
        std::int64_t percentage;
        bool charging, plugged;
        std::optional<std::int64_t> cycles, health;
        std::optional<double> celsius, watts;
    };
    const Case cases[] = {
        {"laptop_charging", 57, true, true, 123, 98, 30.1, 18.9},
        {"thinkpad_discharging", 64, false, false, std::nullopt, 80, std::nullopt, -9.36},
        {"usb_pd", 80, false, true, std::nullopt, 102, std::nullopt, 0.0},
        // capacity is empty, so the percentage rule's missing-current case applies; nothing else is usable.
        {"sparse_battery", 0, false, false, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        const auto converted = convert(readPowerSupplies(fixtures / c.machine));
        ASSERT_TRUE(converted.powerSources) << c.machine;
        ASSERT_TRUE(converted.smart) << c.machine;
        const auto& basics = *converted.powerSources;
        const auto& smart = *converted.smart;
        EXPECT_EQ(std::tuple(basics.percentage, basics.isCharging, basics.isPluggedIn),
                  std::tuple(c.percentage, c.charging, c.plugged))
            << c.machine;
        EXPECT_EQ(std::tuple(smart.cycleCount, smart.healthPercent, smart.adapterWatts),
                  std::tuple(c.cycles, c.health, std::nullopt))
            << c.machine;
        EXPECT_EQ(milli(smart.temperatureCelsius), c.celsius) << c.machine;
        EXPECT_EQ(milli(smart.powerWatts), c.watts) << c.machine;
    }
}

TEST(SysfsReader, NoMachineBatteryMeansNoReading) {
    const fs::path empty = fs::path(::testing::TempDir()) / "torvel_empty_power_supply";
    fs::create_directories(empty);
    struct Case {
        fs::path directory;
        bool listed;
    };
    const Case cases[] = {
        {fixtures / "peripheral_only", true},
        {empty, true},
        {fixtures / "no_such_machine", false},
    };
    for (const auto& c : cases) {
        const auto reading = readPowerSupplies(c.directory);
        EXPECT_EQ(reading.powerSources.has_value(), c.listed) << c.directory;
        if (reading.powerSources) {
            EXPECT_TRUE(reading.powerSources->empty()) << c.directory;
        }
        EXPECT_FALSE(reading.smartBattery) << c.directory;
        EXPECT_FALSE(convert(reading).powerSources) << c.directory;
    }
}

void write(const fs::path& path, const std::string& value) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << value << "\n";
}

TEST(SysfsReader, FollowsClassEntriesButNotSymlinkedAttributes) {
    const fs::path root = fs::path(::testing::TempDir()) / "torvel_symlinks";
    fs::remove_all(root);
    const fs::path device = root / "devices/LNXSYSTM:00/PNP0C0A:00/power_supply/BAT0";
    write(device / "type", "Battery");
    write(device / "status", "Discharging");
    write(device / "capacity", "42");
    write(root / "secret", "7");
    fs::create_symlink(root / "secret", device / "cycle_count");
    fs::create_directories(root / "class");
    fs::create_directory_symlink(device, root / "class/BAT0");

    const auto reading = readPowerSupplies(root / "class");
    ASSERT_TRUE(reading.smartBattery);
    EXPECT_EQ(reading.smartBattery->find("CycleCount"), nullptr);
    const auto snapshot = convert(reading).powerSources;
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->percentage, 42);
}

}  // namespace
}  // namespace torvel
