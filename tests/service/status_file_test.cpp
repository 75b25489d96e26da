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

// Every key's spelling and round trip is PublishedStatus's to assert; here, what only a file written by
// hand or by an older service has: a fractional charge and a missing key.
TEST(RefreshStatus, AFractionalChargeTruncatesAndAMissingKeyTakesItsDefault) {
    const ServiceStatus status = refreshed(testing::fixture("service/status-holding.json"), written + 5);
    EXPECT_EQ(status.state(), ChargeState::hold);
    EXPECT_EQ(status.published.pct, 55);         // 55.7 truncates
    EXPECT_TRUE(status.published.ledSupported);  // missing means supported
    EXPECT_EQ(status.published.cal.phase, CalibrationStatus::Phase::drain);
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
        const PublishedStatus& read = status.published;
        EXPECT_EQ(status.stateWord(), c.state) << c.name;
        EXPECT_EQ(read.gateVerified.has_value(), c.trusted) << c.name;
        EXPECT_EQ(read.daemonVersion.has_value(), c.identity) << c.name;
        EXPECT_EQ(read.startedAt.has_value(), c.identity) << c.name;
        EXPECT_EQ(read.daemonPath.has_value(), c.identity) << c.name;
        EXPECT_EQ(read.pct, 55) << c.name << ": a stale file's readings still show";
    }
}

TEST(RefreshStatus, MistypedKeysTakeTheirFallbacks) {
    const ServiceStatus status = refreshed(testing::fixture("service/status-mistyped.json"), written);
    EXPECT_EQ(status.stateWord(), "stale");  // ts is not a number
    const PublishedStatus& read = status.published;
    EXPECT_EQ(read.pct, 0);
    EXPECT_FALSE(read.plugged);
    EXPECT_FALSE(read.temp);
    EXPECT_EQ(read.protectedSeconds, 12);
    EXPECT_TRUE(read.ledSupported);
    EXPECT_TRUE(read.smcKeys.empty());
    EXPECT_FALSE(read.nativeFloor);  // 250 is no floor
    EXPECT_FALSE(read.gateVerified);
    EXPECT_EQ(read.cal, CalibrationStatus{});
}

TEST(RefreshStatus, OnlyAFreshFileNamesTheState) {
    struct Case {
        const char* bytes;
        const char* word;
        std::optional<ChargeState> state;
    };
    const Case cases[] = {
        {R"({"ts": 100, "state": "allow"})", "allow", ChargeState::allow},
        {R"({"ts": 100, "state": "discharge"})", "discharge", ChargeState::discharge},
        {R"({"ts": 100})", "unknown", std::nullopt},
        // A newer service's word is shown as it stands, though this version cannot act on it.
        {R"({"ts": 100, "state": "cooling"})", "cooling", std::nullopt},
        {R"({"ts": 100, "state": "HOLD"})", "HOLD", std::nullopt},
        {R"({"ts": 100, "state": 3})", "unknown", std::nullopt},
        {R"({"state": "hold"})", "stale", std::nullopt},
        {R"({"ts": 39, "state": "hold"})", "stale", std::nullopt},
    };
    for (const auto& c : cases) {
        const ServiceStatus status = refreshed(c.bytes, 100);
        EXPECT_EQ(status.stateWord(), c.word) << c.bytes;
        EXPECT_EQ(status.state(), c.state) << c.bytes;
    }
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
        EXPECT_EQ(again.stateWord(), "unknown");
        EXPECT_FALSE(again.state());
        EXPECT_EQ(again.published, before.published);
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
