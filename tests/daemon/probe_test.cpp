#include "probe.h"

#include <gtest/gtest.h>

#include <fstream>

#include "device/sysfs_device.h"
#include "harness.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

struct Attribute {
    const char* path;  // under the power-supply folder
    const char* text;
    fs::perms perms = fs::perms(0644);
};

TEST(Probe, AnswersFromWhatTheDriverOffersAndWritesNothing) {
    const struct {
        const char* name;
        std::vector<Attribute> tree;
        const char* expected;
    } cases[] = {
        {"no supply at all", {}, R"({"led":false,"reason":"no-battery","supported":false})"},
        {"only a mouse",
         {{"hidpp_battery_0/type", "Battery"}, {"hidpp_battery_0/scope", "Device"}},
         R"({"led":false,"reason":"no-battery","supported":false})"},
        {"read-only thresholds",
         {{"BAT0/type", "Battery"}, {"BAT0/charge_control_end_threshold", "100", fs::perms(0444)}},
         R"({"battery":"BAT0","endThreshold":100,"led":false,"reason":"no-control","supported":false,"temperature":"unknown"})"},
        {"behaviour only, without inhibit",
         {{"BAT1/type", "Battery"}, {"BAT1/charge_behaviour", "[auto] force-discharge"}},
         R"({"battery":"BAT1","behaviours":["auto","force-discharge"],"discharge":"force-discharge","led":false,"reason":"no-control","supported":false,"temperature":"unknown"})"},
        {"behaviour only",
         {{"BAT1/type", "Battery"}, {"BAT1/charge_behaviour", "[auto] inhibit-charge"}, {"BAT1/temp", "301"}},
         R"({"battery":"BAT1","behaviours":["auto","inhibit-charge"],"led":false,"mode":"behaviour","supported":true,"temperature":"temp"})"},
        {"behaviour that stops charging only while awake",
         {{"BAT0/type", "Battery"}, {"BAT0/charge_behaviour", "[auto] inhibit-charge-awake"}},
         R"({"battery":"BAT0","behaviours":["auto","inhibit-charge-awake"],"led":false,"mode":"behaviour","supported":true,"temperature":"unknown"})"},
        {"an empty first bay beside a battery with thresholds",
         {{"BAT0/type", "Battery"},
          {"BAT0/present", "0"},
          {"BAT1/type", "Battery"},
          {"BAT1/charge_control_end_threshold", "100"}},
         R"({"battery":"BAT1","endThreshold":100,"led":false,"mode":"thresholds","supported":true,"temperature":"unknown"})"},
        {"thresholds, sensor in a thermal zone",
         {{"BAT0/type", "Battery"},
          {"BAT0/charge_control_end_threshold", "80"},
          {"BAT0/charge_control_start_threshold", "75"},
          {"AC/type", "Mains"},
          {"../thermal/thermal_zone3/type", "battery"},
          {"../thermal/thermal_zone3/temp", "31500"}},
         R"({"battery":"BAT0","endThreshold":80,"led":false,"mode":"thresholds","startThreshold":75,"supported":true,"temperature":"thermal_zone3"})"},
    };
    for (const auto& c : cases) {
        const testing::TempDir root;
        const fs::path supply = root.path / "power_supply";
        fs::create_directories(supply);
        for (const auto& attribute : c.tree) {
            const fs::path file = supply / attribute.path;
            fs::create_directories(file.parent_path());
            std::ofstream(file) << attribute.text << "\n";
            fs::permissions(file, attribute.perms);
        }
        const auto before = fs::last_write_time(supply);
        EXPECT_EQ(probeJson(supply), c.expected) << c.name;
        EXPECT_EQ(fs::last_write_time(supply), before) << c.name;
    }
}

// A charge_behaviour caught mid-rewrite reads empty; settling on that would give up forced discharge for
// good.
TEST(SysfsDevice, AnUnreadableBehaviourIsAskedAgain) {
    const testing::TempDir root;
    const fs::path battery = root.path / "BAT0";
    fs::create_directories(battery);
    std::ofstream(battery / "type") << "Battery\n";
    std::ofstream(battery / "charge_behaviour") << "";
    SysfsDevice device(root.path);
    EXPECT_TRUE(device.capabilities().front().incomplete);
    std::ofstream(battery / "charge_behaviour") << "[auto] inhibit-charge force-discharge\n";
    const auto caps = device.capabilities().front();
    EXPECT_FALSE(caps.incomplete);
    EXPECT_TRUE(caps.offers("force-discharge"));
}

// The service runs as root: a write goes to the attribute itself or nowhere, and says why in words.
TEST(SysfsDevice, WritesRefuseWhatIsNotAnAttribute) {
    const testing::TempDir root;
    const fs::path battery = root.path / "BAT0";
    fs::create_directories(battery / "charge_behaviour");
    std::ofstream(root.path / "elsewhere") << "80\n";
    fs::create_symlink(root.path / "elsewhere", battery / "charge_control_end_threshold");
    const struct {
        const char* attribute;
        const char* expected;
    } cases[] = {
        {"charge_control_end_threshold",
         "cannot write charge_control_end_threshold: Too many levels of symbolic links"},
        {"charge_control_start_threshold",
         "cannot write charge_control_start_threshold: No such file or directory"},
        {"charge_behaviour", "cannot write charge_behaviour: Is a directory"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(writeAttribute(battery / c.attribute, "75").value_or(WriteFailure{}).text, c.expected)
            << c.attribute;
    std::ifstream target(root.path / "elsewhere");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(target), {}), "80\n") << "the link was not followed";
}

// The unit's last step after any end: auto on every battery whose charge_behaviour can be written, whatever
// it reads.
TEST(SysfsDevice, HandBackWritesAutoWhereverItCan) {
    const struct {
        const char* before;
        fs::perms perms;
        const char* after;
    } cases[] = {
        {"auto [force-discharge]", fs::perms(0644), "auto"},
        {"", fs::perms(0644), "auto"},
        {"[auto] inhibit-charge", fs::perms(0644), "[auto] inhibit-charge"},
        {"auto [inhibit-charge]", fs::perms(0444), "auto [inhibit-charge]"},
    };
    for (const auto& c : cases) {
        const testing::TempDir root;
        for (const char* name : {"BAT0", "BAT1"}) {
            fs::create_directories(root.path / name);
            std::ofstream(root.path / name / "type") << "Battery\n";
            std::ofstream(root.path / name / "charge_behaviour") << c.before;
            fs::permissions(root.path / name / "charge_behaviour", c.perms);
        }
        EXPECT_FALSE(handBack(root.path)) << c.before;
        for (const char* name : {"BAT0", "BAT1"})
            EXPECT_EQ(readAttribute(root.path / name / "charge_behaviour").value_or(""), c.after) << c.before;
    }
}

}  // namespace
}  // namespace torvel::daemon
