#include "battery/power_supply.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace torvel {
namespace {

namespace fs = std::filesystem;

struct Attribute {
    std::string path;  // under the class directory
    std::string text;
};

// A class directory of plain files, rebuilt for every case.
class SupplyTree {
  public:
    explicit SupplyTree(const char* name) : root_(fs::path(::testing::TempDir()) / name) {
        fs::remove_all(root_);
        fs::create_directories(classDirectory());
    }
    ~SupplyTree() { fs::remove_all(root_); }
    SupplyTree(const SupplyTree&) = delete;
    SupplyTree& operator=(const SupplyTree&) = delete;

    void write(const std::vector<Attribute>& attributes) const {
        for (const auto& attribute : attributes) {
            const fs::path file = classDirectory() / attribute.path;
            fs::create_directories(file.parent_path());
            std::ofstream(file) << attribute.text;
        }
    }
    fs::path classDirectory() const { return root_ / "power_supply"; }

  private:
    fs::path root_;
};

// The app's reader and the service's device once applied different rules to these trees.
TEST(PowerSupply, MainsIsAnyOnlineAdapterOrUsbSupply) {
    const struct {
        const char *type, *usbType, *scope, *online;
        bool onMains;
    } cases[] = {
        {"Mains", nullptr, nullptr, "1", true},
        {"Mains", nullptr, nullptr, "0", false},
        {" Mains ", nullptr, nullptr, "\t1\r", true},
        {"USB_PD", nullptr, nullptr, "1", true},
        {"USB", "C [PD] PD_PPS", nullptr, "1", true},
        // A 15 W Type-C charger without PD still powers the machine.
        {"USB", "[C] PD PD_PPS", nullptr, "1", true},
        {"USB", nullptr, nullptr, "2", true},
        {"USB", "[C] PD PD_PPS", nullptr, "0", false},
        {"Battery", nullptr, nullptr, "1", false},
        // A port charging a phone is not powering the machine.
        {"USB_PD", nullptr, "Device", "1", false},
    };
    for (const auto& c : cases) {
        const std::string name =
            std::string(c.type) + " " + (c.usbType ? c.usbType : "") + " online " + c.online;
        const SupplyTree tree("torvel_mains");
        tree.write(
            {{"port/type", std::string(c.type) + "\n"}, {"port/online", std::string(c.online) + "\n"}});
        if (c.usbType) tree.write({{"port/usb_type", std::string(c.usbType) + "\n"}});
        if (c.scope) tree.write({{"port/scope", std::string(c.scope) + "\n"}});
        tree.write({{"BAT0/type", "Battery\n"}});
        const auto supplies = findPowerSupplies(tree.classDirectory());
        ASSERT_TRUE(supplies) << name;
        EXPECT_EQ(supplies->onMains, c.onMains) << name;
    }
}

TEST(PowerSupply, BatteryAttributesFollowOneSetOfRules) {
    const struct {
        const char* name;
        std::vector<Attribute> tree;
        std::optional<int> percent;
        std::optional<std::int64_t> fullChargeMah, designMah, milliamps;
    } cases[] = {
        // clang-format off
        {"charge in µAh rounds to the nearest mAh",
         {{"capacity", "57\n"}, {"charge_full", "4300500\n"}, {"charge_full_design", "4382499\n"}},
         57, 4301, 4382, std::nullopt},
        {"energy over the minimum design voltage",
         {{"energy_full", "45600000\n"}, {"energy_full_design", "57000000\n"}, {"voltage_min_design", "11400000\n"}},
         std::nullopt, 4000, 5000, std::nullopt},
        {"a zero charge file falls back to energy",
         {{"charge_full", "0\n"}, {"energy_full", "45600000\n"}, {"voltage_min_design", "11400000\n"}},
         std::nullopt, 4000, std::nullopt, std::nullopt},
        {"no usable capacity or design voltage",
         {{"charge_full_design", "0\n"}, {"energy_full", "50000000\n"}},
         std::nullopt, std::nullopt, std::nullopt, std::nullopt},
        {"padded values are trimmed",
         {{"capacity", " 64 \n"}, {"status", "Discharging\r\n"}, {"current_now", "1500400\n"}},
         64, std::nullopt, std::nullopt, -1500},
        {"a signed driver discharging while its status says charging",
         {{"capacity", "150\n"}, {"status", "Charging\n"}, {"current_now", "-1499500\n"}},
         std::nullopt, std::nullopt, std::nullopt, -1500},
        {"current from power over voltage",
         {{"status", "Discharging\n"}, {"power_now", "9360000\n"}, {"voltage_now", "11700000\n"}},
         std::nullopt, std::nullopt, std::nullopt, -800},
        {"no status, no direction", {{"current_now", "1200000\n"}}, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
        // clang-format on
    };
    for (const auto& c : cases) {
        const SupplyTree tree("torvel_battery");
        tree.write({{"BAT0/type", "Battery\n"}});
        for (const auto& attribute : c.tree) {
            tree.write({{"BAT0/" + attribute.path, attribute.text}});
        }
        const auto battery = readBatteryAttributes(tree.classDirectory() / "BAT0");
        EXPECT_EQ(battery.capacity, c.percent) << c.name;
        EXPECT_EQ(battery.fullChargeMah, c.fullChargeMah) << c.name;
        EXPECT_EQ(battery.designMah, c.designMah) << c.name;
        EXPECT_EQ(battery.currentMilliamps(), c.milliamps) << c.name;
    }
}

TEST(PowerSupply, TemperatureComesFromTheFirstSensorThatAnswers) {
    const struct {
        const char* name;
        std::vector<Attribute> tree;
        std::optional<BatteryTemperature> expected;
    } cases[] = {
        {"temp in tenths",
         {{"power_supply/BAT0/temp", "301\n"}, {"power_supply/BAT0/hwmon2/temp1_input", "40000\n"}},
         BatteryTemperature{30.1, "temp"}},
        {"hwmon child in millidegrees",
         {{"power_supply/BAT0/hwmon2/temp1_input", "31500\n"}},
         BatteryTemperature{31.5, "hwmon2/temp1_input"}},
        {"unreadable temp and no sensor", {{"power_supply/BAT0/temp", "n/a\n"}}, std::nullopt},
    };
    for (const auto& c : cases) {
        const SupplyTree tree("torvel_temperature");
        tree.write({{"BAT0/type", "Battery\n"}});
        for (const auto& attribute : c.tree) {
            const fs::path file = tree.classDirectory().parent_path() / attribute.path;
            fs::create_directories(file.parent_path());
            std::ofstream(file) << attribute.text;
        }
        EXPECT_EQ(batteryTemperature(tree.classDirectory() / "BAT0"), c.expected) << c.name;
    }
}

TEST(PowerSupply, AttributesAreShortTextFiles) {
    const SupplyTree tree("torvel_attributes");
    tree.write(
        {{"BAT0/model_name", std::string(5000, 'x')}, {"BAT0/status", "\n"}, {"BAT0/capacity", "5O\n"}});
    const fs::path battery = tree.classDirectory() / "BAT0";
    EXPECT_FALSE(readAttribute(battery / "model_name")) << "larger than any attribute";
    EXPECT_FALSE(readAttribute(battery / "status")) << "blank";
    EXPECT_FALSE(readIntegerAttribute(battery / "capacity")) << "not a number";
    EXPECT_FALSE(readAttribute(battery / "missing"));
}

}  // namespace
}  // namespace torvel
