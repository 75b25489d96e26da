#include "service/published_status.h"

#include <gtest/gtest.h>

#include "service/status_file.h"

namespace torvel {
namespace {

PublishedStatus everythingKnown() {
    PublishedStatus status;
    status.ts = 1'700'000'000.5;
    status.state = ChargeState::discharge;
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
    status.nativeLimit = 80;
    status.chargeError = "BAT1: cannot write charge_control_end_threshold: Input/output error";
    status.batteries = {{"BAT0", 81, "Charging", "thresholds", 75, 80, "auto", std::nullopt},
                        {"BAT1", std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                         std::nullopt, "cannot write charge_control_end_threshold: Input/output error"}};
    status.otherWriter = OtherWriter{OtherWriter::Program::tlp, "/etc/tlp.conf", 1'699'999'900, true};
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
    EXPECT_EQ(PublishedStatus::decode(published.fileText()), published);
    ServiceStatus read;
    refreshStatus(read, published.fileText(), *published.ts + 1, true);
    EXPECT_EQ(read.freshness, ServiceStatus::Freshness::fresh);
    EXPECT_EQ(read.published, published);
    EXPECT_EQ(read.stateWord(), "discharge");
}

TEST(PublishedStatus, TheFileKeepsItsKeysAndSpelling) {
    PublishedStatus published;
    published.ts = 1'700'000'000;
    published.state = ChargeState::hold;
    published.pct = 80;
    published.smcKeys = {"charge_behaviour"};
    published.startedAt = 1'699'990'000;
    EXPECT_EQ(
        published.fileText(),
        R"({"batteries":[],"cal":{"drainTarget":15,"phase":"idle","runs":[],"soakBanked":0.0,)"
        R"("soakSeconds":3600},"chargeError":null,"chargeMode":null,"daemonPath":null,"daemonVersion":null,"dischargeFailed":false,)"
        R"("dischargeSupported":true,"gateVerified":null,"hot":false,"ledSupported":true,)"
        R"("nativeFloor":null,"nativeLimit":null,"otherWriter":null,"pct":80,"plugged":false,"protectedSeconds":0.0,"since":null,)"
        R"("smcKeys":["charge_behaviour"],"startedAt":1699990000.0,"state":"hold",)"
        R"("temp":null,"topUp":false,"ts":1700000000.0})");
}

TEST(PublishedStatus, UnknownValuesAreWrittenAsNullAndReadAsAbsent) {
    PublishedStatus published;
    published.ts = 1'700'000'000;
    const std::string text = published.fileText();
    const auto object = json::parseObject(text);
    ASSERT_TRUE(object);
    // Every key the app reads is there, the unknown ones as null, so no reader falls back by accident.
    EXPECT_EQ(object->size(), 24u);
    EXPECT_TRUE((*object)["temp"].is_null());
    EXPECT_TRUE((*object)["gateVerified"].is_null());
    ServiceStatus read;
    read.published.temp = 30;
    read.published.nativeFloor = 80;
    read.published.gateVerified = true;
    read.published.chargeMode = "old";
    refreshStatus(read, text, *published.ts, true);
    EXPECT_FALSE(read.published.temp);
    EXPECT_FALSE(read.published.nativeFloor);
    EXPECT_FALSE(read.published.gateVerified);
    EXPECT_FALSE(read.published.chargeMode);
    EXPECT_FALSE(read.published.daemonVersion);
    EXPECT_EQ(read.published.cal, CalibrationStatus{});
    EXPECT_EQ(read.stateWord(), "unknown");
}

}  // namespace
}  // namespace torvel
