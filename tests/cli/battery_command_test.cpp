#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "common/json.h"
#include "run_torvelctl.h"

namespace torvel::cli {
namespace {

namespace fs = std::filesystem;

// A ThinkPad on its second battery with a mouse and a Type-C charger without PD: what a bug report needs to
// see.
TEST(BatteryCommand, ShowsEverySupplyAndWhichBatteryIsHeld) {
    const fs::path root = fs::temp_directory_path() / ("torvel-battery-" + std::to_string(::getpid()));
    fs::remove_all(root);
    for (const auto& [file, text] : std::vector<std::pair<std::string, std::string>>{
             {"BAT0/type", "Battery"},
             {"BAT0/present", "0"},
             {"BAT1/type", "Battery"},
             {"BAT1/capacity", "64"},
             {"BAT1/charge_control_end_threshold", "80"},
             {"hidpp_battery_0/type", "Battery"},
             {"hidpp_battery_0/scope", "Device"},
             {"ucsi-source-psy-USBC000:001/type", "USB"},
             {"ucsi-source-psy-USBC000:001/usb_type", "[C] PD"},
             {"ucsi-source-psy-USBC000:001/online", "1"},
         }) {
        fs::create_directories((root / file).parent_path());
        std::ofstream(root / file) << text << "\n";
    }
    ::setenv("TORVEL_SYSFS", root.c_str(), 1);
    const auto result = testing::torvelctl({"battery", "--json"});
    ::unsetenv("TORVEL_SYSFS");
    fs::remove_all(root);
    ASSERT_EQ(result.status, exitOk) << result.err;
    const auto report = json::parseObject(result.out);
    ASSERT_TRUE(report);
    std::vector<std::tuple<std::string, std::string, bool>> supplies;
    for (const auto& supply : (*report)["supplies"])
        supplies.emplace_back(supply["name"], supply["role"], supply["controlled"]);
    EXPECT_EQ(supplies, (std::vector<std::tuple<std::string, std::string, bool>>{
                            {"BAT0", "empty bay", false},
                            {"BAT1", "battery", true},
                            {"hidpp_battery_0", "peripheral", false},
                            {"ucsi-source-psy-USBC000:001", "mains", false}}));
    EXPECT_EQ((*report)["supplies"][1]["attributes"]["charge_control_end_threshold"], "80");
    EXPECT_EQ((*report)["whole"]["percent"], 64);
    EXPECT_EQ((*report)["onMains"], true);
}

}  // namespace
}  // namespace torvel::cli
