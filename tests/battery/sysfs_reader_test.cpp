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

void write(const fs::path& path, const std::string& value) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << value << "\n";
}

// Trees shaped like the kernel's drivers that once read wrong: what the panel, the journal and status.json
// end up showing from each.
TEST(SysfsReader, DriverShapedTreesReadAsTheKernelMeansThem) {
    using Tree = std::vector<std::pair<std::string, std::string>>;
    const Tree acpiBay = {{"BAT0/type", "Battery"}, {"BAT0/present", "0"}};
    const auto battery = [](const char* name, Tree attributes) {
        Tree tree{{std::string(name) + "/type", "Battery"}};
        for (auto& [file, text] : attributes) tree.emplace_back(std::string(name) + "/" + file, text);
        return tree;
    };
    const auto both = [](Tree a, const Tree& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    struct Case {
        const char* name;
        Tree tree;
        std::optional<std::int64_t> percentage;  // absent: no charge can be read
        std::optional<std::int64_t> health;
        std::optional<double> watts;
    };
    // clang-format off
    const Case cases[] = {
        {"energy-only fuel gauge, no capacity file, no design voltage",
         battery("BAT0", {{"status", "Discharging"}, {"energy_now", "30000000"}, {"energy_full", "40000000"},
                          {"energy_full_design", "50000000"}, {"power_now", "7500000"}}),
         75, 80, -7.5},
        {"charge counters when capacity is unreadable",
         battery("BAT0", {{"capacity", "n/a"}, {"charge_now", "2000000"}, {"charge_full", "4000000"}}),
         50, std::nullopt, std::nullopt},
        {"a full battery reporting 110 falls back to its counters, never past 100",
         battery("BAT0", {{"capacity", "110"}, {"energy_now", "41000000"}, {"energy_full", "40000000"}}),
         100, std::nullopt, std::nullopt},
        {"over-full capacity and counters far past full: nothing to show",
         battery("BAT0", {{"capacity", "110"}, {"energy_now", "90000000"}, {"energy_full", "40000000"}}),
         std::nullopt, std::nullopt, std::nullopt},
        {"an empty bay beside a working battery",
         both(both(acpiBay, {{"BAT0/capacity", "0"}}), battery("BAT1", {{"capacity", "64"}})),
         64, std::nullopt, std::nullopt},
        {"a desktop's empty ACPI stub is no battery", acpiBay, std::nullopt, std::nullopt, std::nullopt},
        {"two batteries weighted by the energy each holds",
         both(battery("BAT0", {{"capacity", "90"}, {"energy_full", "60000000"}, {"energy_full_design", "60000000"}}),
              battery("BAT1", {{"capacity", "30"}, {"energy_full", "20000000"}, {"energy_full_design", "40000000"}})),
         75, 80, std::nullopt},
        {"peripherals listed first are passed over",
         both(battery("hid-00:11:22:33:44:55-battery", {{"scope", "Device"}, {"capacity", "5"}}),
              battery("BAT0", {{"capacity", "88"}})),
         88, std::nullopt, std::nullopt},
    };
    // clang-format on
    for (const auto& c : cases) {
        const fs::path root = fs::path(::testing::TempDir()) / "torvel_driver_tree";
        fs::remove_all(root);
        fs::create_directories(root);
        for (const auto& [file, text] : c.tree) write(root / file, text);
        const auto converted = convert(readPowerSupplies(root));
        EXPECT_EQ(converted.powerSources ? std::optional(converted.powerSources->percentage) : std::nullopt,
                  c.percentage)
            << c.name;
        EXPECT_EQ(converted.smart ? converted.smart->healthPercent : std::nullopt, c.health) << c.name;
        EXPECT_EQ(milli(converted.smart ? converted.smart->powerWatts : std::nullopt), c.watts) << c.name;
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
