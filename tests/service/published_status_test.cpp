#include "service/published_status.h"

#include <gtest/gtest.h>

#include "service/status_file.h"

namespace torvel {
namespace {

PublishedStatus everythingKnown() {
    PublishedStatus status;
    status.ts = 1'700'000'000.5;
    status.state = "discharge";
    status.pct = 87;
    status.plugged = true;
    status.hot = true;
    status.temp = 41.3;
    status.topUp = true;
    status.protectedSeconds = 98765;
    status.since = 1'699'999'000;
    status.ledSupported = false;
    status.dischargeSupported = true;
    status.dischargeFailed = true;
    status.smcKeys = {"charge_control_end_threshold", "charge_behaviour"};
    status.chargeMode = "thresholds+behaviour";
    status.nativeFloor = 55;
    status.gateVerified = false;
    status.daemonVersion = "1.2.3";
    status.startedAt = 1'699'990'000;
    status.daemonPath = "/usr/libexec/torvel/torvel-daemon";
    status.cal.phase = CalibrationStatus::Phase::soak;
    status.cal.startedAt = 1'699'000'000;
    status.cal.soakBanked = 1800.5;
    status.cal.drainTarget = 12;
    status.cal.runs.push_back({1'690'000'000, 5000, 4976, std::nullopt, 5200, 300});
    status.cal.lastFailure =
        CalibrationStatus::Failure{"stalled", CalibrationStatus::Phase::refill, std::nullopt};
    return status;
}

TEST(PublishedStatus, TheAppReadsBackEveryPublishedValue) {
    const PublishedStatus published = everythingKnown();
    ServiceStatus read;
    refreshStatus(read, publishedStatusText(published), published.ts + 1, true);
    EXPECT_EQ(read.state, published.state);
    EXPECT_EQ(read.statusPct, published.pct);
    EXPECT_EQ(read.statusPlugged, published.plugged);
    EXPECT_EQ(read.statusHot, published.hot);
    EXPECT_EQ(read.statusTemp, published.temp);
    EXPECT_EQ(read.statusTopUp, published.topUp);
    EXPECT_EQ(read.statusProtectedSeconds, published.protectedSeconds);
    EXPECT_EQ(read.statusSince, published.since);
    EXPECT_EQ(read.ledSupported, published.ledSupported);
    EXPECT_EQ(read.dischargeSupported, published.dischargeSupported);
    EXPECT_EQ(read.dischargeFailed, published.dischargeFailed);
    EXPECT_EQ(read.smcKeys, published.smcKeys);
    EXPECT_EQ(read.chargeMode, published.chargeMode);
    EXPECT_EQ(read.nativeFloor, published.nativeFloor);
    EXPECT_EQ(read.gateVerified, published.gateVerified);
    EXPECT_EQ(read.daemonVersion, published.daemonVersion);
    EXPECT_EQ(read.daemonStartedAt, published.startedAt);
    EXPECT_EQ(read.daemonPath, published.daemonPath);
    EXPECT_EQ(read.cal, published.cal);
}

TEST(PublishedStatus, UnknownValuesAreWrittenAsNullAndReadAsAbsent) {
    PublishedStatus published;
    published.ts = 1'700'000'000;
    const std::string text = publishedStatusText(published);
    const auto object = json::parseObject(text);
    ASSERT_TRUE(object);
    // Every key the app reads is there, the unknown ones as null, so no reader falls back by accident.
    EXPECT_EQ(object->size(), 20u);
    EXPECT_TRUE((*object)["temp"].is_null());
    EXPECT_TRUE((*object)["gateVerified"].is_null());
    ServiceStatus read;
    read.statusTemp = 30;
    read.nativeFloor = 80;
    read.gateVerified = true;
    read.chargeMode = "old";
    refreshStatus(read, text, published.ts, true);
    EXPECT_FALSE(read.statusTemp);
    EXPECT_FALSE(read.nativeFloor);
    EXPECT_FALSE(read.gateVerified);
    EXPECT_FALSE(read.chargeMode);
    EXPECT_FALSE(read.daemonVersion);
    EXPECT_EQ(read.cal, CalibrationStatus{});
}

}  // namespace
}  // namespace torvel
