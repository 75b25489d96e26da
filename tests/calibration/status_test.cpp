#include "calibration/status.h"

#include <gtest/gtest.h>

// A run names its fields up to the last one it needs.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

using Phase = CalibrationStatus::Phase;
using Failure = CalibrationStatus::Failure;
using Mah = std::optional<std::int64_t>;
// A calibration run: at, beforeRaw, afterRaw, afterNominal, design, cyclesAfter.
using Sweep = CalibrationStatus::Run;

CalibrationStatus withRuns(std::vector<Sweep> runs) {
    CalibrationStatus status;
    status.runs = std::move(runs);
    return status;
}

TEST(CalibrationDecode, EachFieldFallsBackToItsDefaultOnItsOwn) {
    const auto with = [](auto change) {
        CalibrationStatus status;
        change(status);
        return status;
    };
    const CalibrationStatus idle;
    EXPECT_EQ(idle.phase, Phase::idle);
    EXPECT_EQ(idle.soakSeconds, 3600);
    EXPECT_EQ(idle.drainTarget, 15);
    // clang-format off
    const std::pair<const char*, CalibrationStatus> cases[] = {
        {"null", idle}, {"[]", idle}, {R"("drain")", idle}, {"{}", idle},
        {R"({"phase": "restore"})", with([](auto& s) { s.phase = Phase::restore; })},
        {R"({"phase": "Drain"})", idle}, {R"({"phase": 2})", idle},
        {R"({"startedAt": 1750000000.5})", with([](auto& s) { s.startedAt = 1750000000.5; })},
        {R"({"startedAt": "2025-06-15"})", idle},
        {R"({"soakBanked": 1200})", with([](auto& s) { s.soakBanked = 1200; })},
        {R"({"soakBanked": 12.25})", with([](auto& s) { s.soakBanked = 12.25; })},
        {R"({"soakBanked": "12"})", idle},
        {R"({"soakSeconds": 7200})", with([](auto& s) { s.soakSeconds = 7200; })},
        {R"({"soakSeconds": 0})", idle}, {R"({"soakSeconds": -5})", idle}, {R"({"soakSeconds": 7200.5})", idle},
        {R"({"soakSeconds": 9007199254740993})", idle},  // would not survive a double
        {R"({"drainTarget": 12})", with([](auto& s) { s.drainTarget = 12; })},
        {R"({"drainTarget": 0})", idle}, {R"({"drainTarget": "12"})", idle},
        {R"({"runs": {"at": 5}})", idle},
        {R"({"runs": [7, {"at": 5, "design": 4000, "afterRaw": "4000", "beforeRaw": 3999.5}, null]})",
         with([](auto& s) { s.runs = {Sweep{5, {}, {}, {}, 4000}}; })},
        {R"({"runs": [{"beforeRaw": 1, "afterRaw": 2, "afterNominal": 3, "design": 4, "cyclesAfter": 5}]})",
         with([](auto& s) { s.runs = {Sweep{0, 1, 2, 3, 4, 5}}; })},
        {R"({"lastFailure": "Your Mac went to sleep."})",
         with([](auto& s) { s.lastFailure = Failure{"legacy", Phase::idle, "Your Mac went to sleep."}; })},
        {R"({"lastFailure": {"reason": "stalled", "phase": "refill"}})",
         with([](auto& s) { s.lastFailure = Failure{"stalled", Phase::refill, std::nullopt}; })},
        {R"({"lastFailure": {"reason": "unplugged", "phase": "later"}})",
         with([](auto& s) { s.lastFailure = Failure{"unplugged", Phase::idle, std::nullopt}; })},
        {R"({"lastFailure": {"phase": "drain"}})", idle}, {R"({"lastFailure": {"reason": 3}})", idle},
        {R"({"lastFailure": 3})", idle},
    };
    // clang-format on
    for (const auto& [json, expected] : cases) {
        EXPECT_EQ(CalibrationStatus::decode(json::Value::parse(json)), expected) << json;
    }
}

TEST(CalibrationEncode, DecodesBackToTheSameStatus) {
    CalibrationStatus status;
    status.phase = Phase::soak;
    status.startedAt = 1750000000.25;
    status.soakBanked = 901.5;
    status.soakSeconds = 5400;
    status.drainTarget = 10;
    status.runs = {Sweep{1740000000, 4100, 4050, 4000, 4382, 310}, Sweep{1750000000.5, {}, 3990, {}, {}}};
    for (const auto& failure : {Failure{"stalled", Phase::drain, std::nullopt},
                                Failure{"legacy", Phase::idle, "Your Mac went to sleep."},
                                Failure{"legacy", Phase::fill, std::nullopt}}) {
        status.lastFailure = failure;
        const auto wire = status.encode().dump();
        EXPECT_EQ(CalibrationStatus::decode(json::Value::parse(wire)), status) << wire;
    }
}

TEST(CalibrationPhase, WordsStepsLabelsAndReasons) {
    struct Case {
        Phase phase;
        const char* word;
        const char* label;
        std::optional<std::string> reason;
    };
    const Case cases[] = {
        {Phase::idle, "idle", "Idle", std::nullopt},
        {Phase::fill, "fill", "Charge to 100%", "Gives the gauge a known ceiling to measure down from."},
        {Phase::drain, "drain", "Run down to 12%",
         "This is the measurement. It has to run in one go, so charging stays off even while you're plugged "
         "in."},
        {Phase::refill, "refill", "Back up to 100%",
         "A gauge publishes what it learned on the way back to full, not at the bottom."},
        {Phase::soak, "soak", "Hold full, then finish",
         "Charging tapers off at the end. Sitting there is what lets it finish, so full gets marked as "
         "full."},
        {Phase::restore, "restore", "Back to your limit",
         "Leaving a battery at 100% is what you bought Torvel to avoid."},
    };
    int step = 0;
    for (const auto& c : cases) {
        EXPECT_EQ(Phase::fromWire(c.word), c.phase);
        EXPECT_EQ(c.phase.wireWord(), c.word);
        EXPECT_EQ(c.phase.step(), step++);
        EXPECT_EQ(c.phase.label(12), c.label);
        EXPECT_EQ(c.phase.reason(), c.reason);
    }
}

TEST(CalibrationFailure, TextByReason) {
    const std::string stopped = "The run stopped before it could finish.";
    const std::string stalled = "The run was stopped, and the battery went back to your limit.";
    // clang-format off
    const std::pair<Failure, std::string> cases[] = {
        {{"stalled", Phase::refill, {}}, "Nothing moved for three days at step 3. " + stalled},
        {{"stalled", Phase::restore, "ignored"}, "Nothing moved for three days at step 5. " + stalled},
        {{"stalled", Phase::idle, {}}, "Nothing moved for three days. " + stalled},
        {{"legacy", Phase::idle, "Your Mac went to sleep."}, "Your Mac went to sleep."},
        {{"legacy", Phase::idle, {}}, stopped},
        {{"unplugged", Phase::drain, "ignored"}, stopped},
    };
    // clang-format on
    for (const auto& [failure, text] : cases) EXPECT_EQ(failure.text(), text) << failure.reason;
}

TEST(CalibrationRun, PercentOfDesignRoundedHalfAway) {
    // clang-format off
    struct Case {
        Mah value, design, pct;
    };
    const Case cases[] = {
        {3990, 4000, 100}, {3979, 4000, 99}, {1, 200, 1}, {-1, 200, -1}, {4400, 4000, 110},
        {3990, 0, {}}, {3990, {}, {}}, {{}, 4000, {}},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ((Sweep{0, {}, {}, {}, c.design}.pct(c.value)), c.pct);
}

TEST(CalibrationVerdict, FromTheLastRunsChangeInRawCapacity) {
    const std::string truth =
        "The gauge came back with the number it started with, so it was already telling the truth.";
    // clang-format off
    struct Case {
        Mah before, after;
        std::optional<std::string> verdict;
    };
    const Case cases[] = {
        {5000, 4976, truth}, {5000, 4975, "The gauge had been reading over by 25 mAh."},
        {5000, 5024, truth}, {5000, 5025, "The gauge had been reading under by 25 mAh."},
        {{}, 4975, {}}, {5000, {}, {}},
        {INT64_MIN, INT64_MAX, "The gauge had been reading under by 18446744073709551615 mAh."},
    };
    // clang-format on
    for (const auto& c : cases) {
        // A design of 0 leaves every percentage absent; the verdict needs none.
        EXPECT_EQ(withRuns({Sweep{0, 0, 0, {}, {}}, Sweep{0, c.before, c.after, {}, 0}}).verdict(),
                  c.verdict);
    }
    EXPECT_EQ(withRuns({}).verdict(), std::nullopt);
}

TEST(CalibrationMacOSGap, NominalThenRawWhenTheyDiffer) {
    EXPECT_EQ(
        withRuns({Sweep{0, {}, 4300, 4000, 5000}}).macOSGap(),
        "System Settings says 80%, which is Apple's smoothed figure. 86% is what the cells reported after "
        "the sweep.");
    // 80.2% and 80% are the same figure once rounded.
    for (const auto& last : {Sweep{0, {}, 4010, 4000, 5000}, Sweep{0, {}, 4300, 4000, 0},
                             Sweep{0, {}, {}, 4000, 5000}, Sweep{0, {}, 4300, {}, 5000}}) {
        EXPECT_EQ(withRuns({Sweep{0, {}, 4300, 4000, 5000}, last}).macOSGap(), std::nullopt);
    }
}

TEST(CalibrationTrend, SpanAndChangeBetweenFirstAndLastRun) {
    struct Case {
        double days;
        Mah lastRaw, firstDesign;
        std::optional<std::string> trend;
    };
    // The first run holds 4000 mAh; the last run's design is 5000.
    const Case cases[] = {
        {20, 4000, 5000, "Measured over 1 month, your capacity hasn't dropped. It's holding at 80%."},
        {14, 4000, 5000, std::nullopt},
        {75, 3900, 5000, "Measured over 3 months, you've lost 100 mAh: 80% down to 78%."},
        {345, 4100, 5000, "Measured over 12 months, your capacity hasn't dropped. It's holding at 82%."},
        {400, 3800, 5000, "Measured over 1 year, you've lost 200 mAh: 80% down to 76%."},
        {800, 3800, 4000, "Measured over 2 years, you've lost 200 mAh: 100% down to 76%."},
        {-400, 3800, 5000, std::nullopt},
        {400, 3800, 0, std::nullopt},
        {400, std::nullopt, 5000, std::nullopt},
        {1e300, 3800, 5000, std::nullopt},
    };
    for (const auto& c : cases) {
        const auto first = Sweep{1'700'000'000, {}, 4000, {}, c.firstDesign};
        const auto last = Sweep{1'700'000'000 + c.days * 86'400, {}, c.lastRaw, {}, 5000};
        EXPECT_EQ(withRuns({first, Sweep{0, {}, {}, {}, {}}, last}).trend(), c.trend) << c.days << " days";
    }
    EXPECT_EQ(withRuns({Sweep{0, {}, 4000, {}, 5000}}).trend(), std::nullopt);
}

}  // namespace
}  // namespace torvel
