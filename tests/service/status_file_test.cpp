#include "service/status_file.h"

#include <gtest/gtest.h>

#include "fixture.h"

namespace torvel {
namespace {

constexpr double written = 1763900000.5;

ServiceStatus refreshed(const std::string& bytes, double now, bool installed = true) {
    ServiceStatus status;
    refreshStatus(status, bytes, now, installed);
    return status;
}

TEST(RefreshStatus, FreshFileFillsEveryField) {
    const ServiceStatus status = refreshed(testing::fixture("service/status-holding.json"), written + 5);
    EXPECT_EQ(status.state, "hold");
    EXPECT_EQ(status.statusPct, 55);  // 55.7 truncates
    EXPECT_TRUE(status.statusPlugged);
    EXPECT_EQ(status.statusTemp, 31.4);
    EXPECT_EQ(status.statusProtectedSeconds, 86400);
    EXPECT_EQ(status.statusSince, 1763890000);
    EXPECT_TRUE(status.ledSupported);  // missing means supported
    EXPECT_FALSE(status.dischargeSupported);
    EXPECT_EQ(status.smcKeys.size(), 2u);
    EXPECT_EQ(status.chargeMode, "thresholds");
    EXPECT_EQ(status.nativeFloor, 60);
    EXPECT_EQ(status.gateVerified, true);
    EXPECT_EQ(status.daemonVersion, "0.1.0");
    EXPECT_EQ(status.daemonStartedAt, 1763800000);
    EXPECT_EQ(status.daemonPath, "/usr/libexec/torvel/torvel-daemon");
    EXPECT_EQ(status.cal.phase, CalibrationStatus::Phase::drain);
    EXPECT_EQ(status.cal.drainTarget, 12);
}

TEST(RefreshStatus, FreshnessDecidesWhatIsBelieved) {
    struct Case {
        const char* name;
        double age;
        bool installed;
        const char* state;
        bool trusted;  // gateVerified believed
        bool identity;
    };
    const Case cases[] = {
        {"just written", 0, true, "hold", true, true},
        {"sixty seconds is still fresh", 60, true, "hold", true, true},
        {"sixty-one seconds is stale", 61, true, "stale", false, false},
        {"fresh but not installed", 1, false, "hold", true, false},
        {"from the future", -30, true, "hold", true, true},
    };
    const std::string bytes = testing::fixture("service/status-holding.json");
    for (const auto& c : cases) {
        const ServiceStatus status = refreshed(bytes, written + c.age, c.installed);
        EXPECT_EQ(status.state, c.state) << c.name;
        EXPECT_EQ(status.gateVerified.has_value(), c.trusted) << c.name;
        EXPECT_EQ(status.daemonVersion.has_value(), c.identity) << c.name;
        EXPECT_EQ(status.daemonStartedAt.has_value(), c.identity) << c.name;
        EXPECT_EQ(status.daemonPath.has_value(), c.identity) << c.name;
        EXPECT_EQ(status.statusPct, 55) << c.name << ": a stale file's readings still show";
    }
}

TEST(RefreshStatus, MistypedKeysTakeTheirFallbacks) {
    const ServiceStatus status = refreshed(testing::fixture("service/status-mistyped.json"), written);
    EXPECT_EQ(status.state, "stale");  // ts is not a number
    EXPECT_EQ(status.statusPct, 0);
    EXPECT_FALSE(status.statusPlugged);
    EXPECT_FALSE(status.statusTemp);
    EXPECT_EQ(status.statusProtectedSeconds, 12);
    EXPECT_TRUE(status.ledSupported);
    EXPECT_TRUE(status.smcKeys.empty());
    EXPECT_FALSE(status.nativeFloor);  // 250 is no floor
    EXPECT_FALSE(status.gateVerified);
    EXPECT_EQ(status.cal, CalibrationStatus{});
}

TEST(RefreshStatus, FreshFileWithoutAStateWordIsUnknown) {
    EXPECT_EQ(refreshed(R"({"ts": 100})", 100).state, "unknown");
    EXPECT_EQ(refreshed(R"({"state": "hold"})", 100).state, "stale");
}

TEST(RefreshStatus, UnreadableFileOnlyForgetsTheState) {
    ServiceStatus status = refreshed(testing::fixture("service/status-holding.json"), written);
    const ServiceStatus before = status;
    const std::string truncated = testing::fixture("service/status-truncated.json");
    for (const std::optional<std::string_view> bytes :
         {std::optional<std::string_view>(), std::optional<std::string_view>("[1,2]"),
          std::optional<std::string_view>(truncated)}) {
        ServiceStatus again = before;
        refreshStatus(again, bytes, written, true);
        EXPECT_EQ(again.state, "unknown");
        again.state = before.state;
        EXPECT_EQ(again, before);
    }
}

TEST(FollowCalibrate, TheUsersTapStandsForEightSeconds) {
    CalibrationStatus idle;
    CalibrationStatus running;
    running.phase = CalibrationStatus::Phase::fill;
    struct Case {
        bool calibrate;
        std::optional<double> askedAt;
        const CalibrationStatus* cal;
        double now;
        bool expected;
    };
    const Case cases[] = {
        {true, 100.0, &idle, 104, true},           // tapped on, service has not seen it yet
        {true, 100.0, &idle, 108, true},           // exactly eight seconds still counts as recent
        {true, 100.0, &idle, 108.01, false},       // the service had its chance: the run is not on
        {false, std::nullopt, &running, 5, true},  // a run the service started by itself
        {true, std::nullopt, &idle, 5, false},     // a run that ended turns the switch off
        {false, 100.0, &running, 103, false},      // tapped off during a run
    };
    for (const auto& c : cases) {
        EXPECT_EQ(followCalibrate(c.calibrate, c.askedAt, *c.cal, c.now), c.expected) << c.now;
    }
}

}  // namespace
}  // namespace torvel
