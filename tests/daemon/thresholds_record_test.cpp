#include "thresholds_record.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "battery/power_supply.h"
#include "harness.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

void put(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

std::string read(const fs::path& file) {
    return readAttribute(file).value_or("<unreadable>");
}

void battery(const fs::path& supply, int start, int end) {
    put(supply / "type", "Battery");
    put(supply / "charge_control_start_threshold", std::to_string(start));
    put(supply / "charge_control_end_threshold", std::to_string(end));
    put(supply / "charge_behaviour", "auto [force-discharge] inhibit-charge");
}

// Install, the service's own limit, a reinstall, removal: every system battery whatever its name gets back
// what stood before the first install, a battery that came later the full range, and a peripheral nothing.
TEST(ThresholdsRecord, RemovalPutsBackWhatStoodBeforeTheFirstInstall) {
    testing::TempDir temp;
    const Paths paths = testing::pathsUnder(temp.path);
    const fs::path sys = temp.path / "sys";
    battery(sys / "CMB0", 40, 80);
    battery(sys / "hidpp_battery_0", 10, 20);
    put(sys / "hidpp_battery_0/scope", "Device");

    const auto first = recordThresholds(paths);
    EXPECT_TRUE(first.failures.empty());
    EXPECT_EQ(first.done, std::vector<std::string>{"recorded CMB0 start 40 end 80"});

    battery(sys / "CMB0", 70, 75);
    battery(sys / "BAT1", 70, 75);
    EXPECT_EQ(recordThresholds(paths).done,
              std::vector<std::string>{"kept the thresholds recorded at the first install"});

    const auto restored = restoreThresholds(paths);
    EXPECT_TRUE(restored.failures.empty()) << restored.failures.front();
    const struct {
        const char* supply;
        const char* start;
        const char* end;
        const char* behaviour;
    } expected[] = {{"CMB0", "40", "80", "auto"},
                    {"BAT1", "0", "100", "auto"},
                    {"hidpp_battery_0", "10", "20", "auto [force-discharge] inhibit-charge"}};
    for (const auto& e : expected) {
        SCOPED_TRACE(e.supply);
        EXPECT_EQ(read(sys / e.supply / "charge_control_start_threshold"), e.start);
        EXPECT_EQ(read(sys / e.supply / "charge_control_end_threshold"), e.end);
        EXPECT_EQ(read(sys / e.supply / "charge_behaviour"), e.behaviour);
    }
    EXPECT_FALSE(fs::exists(thresholdsRecordFile(paths))) << "the next install must record afresh";
}

// The record is read by root and its names become paths: only plain supply names and percentages survive.
TEST(ThresholdsRecord, DecodingDropsWhatCouldNotHaveBeenWritten) {
    const auto decoded = decodeStoodThresholds(
        R"({"batteries":[{"battery":"BAT0","start":40,"end":80},{"battery":"../../etc","end":80},)"
        R"({"battery":"BAT1","start":90,"end":60},{"battery":"BAT2","start":-1,"end":150},)"
        R"({"battery":"BAT3","end":95},{"start":1}]})");
    const std::vector<StoodThresholds> kept = {{"BAT0", 40, 80}, {"BAT3", std::nullopt, 95}};
    EXPECT_EQ(decoded, kept);
    EXPECT_EQ(decodeStoodThresholds(encodeStoodThresholds(kept)), kept);
    EXPECT_TRUE(decodeStoodThresholds("not json").empty());
}

}  // namespace
}  // namespace torvel::daemon
