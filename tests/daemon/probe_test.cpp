#include "probe.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "common/json.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

void attribute(const fs::path& file, const std::string& text, fs::perms perms = fs::perms(0644)) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
    fs::permissions(file, perms);
}

TEST(Probe, AnswersFromWhatTheDriverOffers) {
    const struct {
        const char* name;
        void (*build)(const fs::path& supply);
        const char* expected;
    } cases[] = {
        {"no supply at all", [](const fs::path&) {},
         R"({"led":false,"reason":"no-battery","supported":false})"},
        {"only a mouse",
         [](const fs::path& s) {
             attribute(s / "hidpp_battery_0" / "type", "Battery");
             attribute(s / "hidpp_battery_0" / "scope", "Device");
         },
         R"({"led":false,"reason":"no-battery","supported":false})"},
        {"read-only thresholds",
         [](const fs::path& s) {
             attribute(s / "BAT0" / "type", "Battery");
             attribute(s / "BAT0" / "charge_control_end_threshold", "100", fs::perms(0444));
         },
         R"({"battery":"BAT0","endThreshold":100,"led":false,"reason":"no-control","supported":false,"temperature":"unknown"})"},
        {"behaviour only, without inhibit",
         [](const fs::path& s) {
             attribute(s / "BAT1" / "type", "Battery");
             attribute(s / "BAT1" / "charge_behaviour", "[auto] force-discharge");
         },
         R"({"battery":"BAT1","behaviours":["auto","force-discharge"],"discharge":"force-discharge","led":false,"reason":"no-control","supported":false,"temperature":"unknown"})"},
        {"behaviour only",
         [](const fs::path& s) {
             attribute(s / "BAT1" / "type", "Battery");
             attribute(s / "BAT1" / "charge_behaviour", "[auto] inhibit-charge");
             attribute(s / "BAT1" / "temp", "301");
         },
         R"({"battery":"BAT1","behaviours":["auto","inhibit-charge"],"led":false,"mode":"behaviour","supported":true,"temperature":"temp"})"},
        {"thresholds, sensor in a thermal zone",
         [](const fs::path& s) {
             attribute(s / "BAT0" / "type", "Battery");
             attribute(s / "BAT0" / "charge_control_end_threshold", "80");
             attribute(s / "BAT0" / "charge_control_start_threshold", "75");
             attribute(s / "AC" / "type", "Mains");
             attribute(s.parent_path() / "thermal" / "thermal_zone3" / "type", "battery");
             attribute(s.parent_path() / "thermal" / "thermal_zone3" / "temp", "31500");
         },
         R"({"battery":"BAT0","endThreshold":80,"led":false,"mode":"thresholds","startThreshold":75,"supported":true,"temperature":"thermal_zone3"})"},
    };
    for (const auto& c : cases) {
        char pattern[] = "/tmp/torvel-probe-XXXXXX";
        const fs::path root = ::mkdtemp(pattern);
        const fs::path supply = root / "power_supply";
        fs::create_directories(supply);
        c.build(supply);
        const auto before = fs::last_write_time(supply);
        EXPECT_EQ(probeJson(supply), c.expected) << c.name;
        EXPECT_EQ(fs::last_write_time(supply), before) << c.name;
        fs::remove_all(root);
    }
}

}  // namespace
}  // namespace torvel::daemon
