#include "calibration/status.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using Phase = CalibrationStatus::Phase;
using CalibrationRun = CalibrationStatus::Run;
using Failure = CalibrationStatus::Failure;

using Mah = std::optional<std::int64_t>;

CalibrationRun makeRun(double at, Mah before = {}, Mah after = {}, Mah nominal = {}, Mah design = {},
                       Mah cycles = {}) {
    CalibrationRun run;
    run.at = at;
    run.beforeRaw = before;
    run.afterRaw = after;
    run.afterNominal = nominal;
    run.design = design;
    run.cyclesAfter = cycles;
    return run;
}

CalibrationStatus decode(const char* json) {
    return CalibrationStatus::decode(json::Value::parse(json));
}

TEST(CalibrationDecode, AnythingButAnObjectIsTheIdleDefault) {
    const CalibrationStatus idle;
    EXPECT_EQ(idle.phase, Phase::idle);
    EXPECT_EQ(idle.soakSeconds, 3600);
    EXPECT_EQ(idle.drainTarget, 15);
    for (const char* cal : {"null", "[]", "\"drain\"", "12", "{}"}) EXPECT_EQ(decode(cal), idle) << cal;
}

TEST(CalibrationDecode, EachFieldFallsBackOnItsOwn) {
    struct Case {
        const char* json;
        CalibrationStatus expected;
    };
    const auto with = [](auto change) {
        CalibrationStatus status;
        change(status);
        return status;
    };
    const Case cases[] = {
        {R"({"phase": "drain"})", with([](auto& s) { s.phase = Phase::drain; })},
        {R"({"phase": "restore"})", with([](auto& s) { s.phase = Phase::restore; })},
        {R"({"phase": "Drain"})", {}},
        {R"({"phase": 2})", {}},
        {R"({"startedAt": 1750000000.5})", with([](auto& s) { s.startedAt = 1750000000.5; })},
        {R"({"startedAt": "2025-06-15"})", {}},
        {R"({"soakBanked": 1200})", with([](auto& s) { s.soakBanked = 1200; })},
        {R"({"soakBanked": 12.25})", with([](auto& s) { s.soakBanked = 12.25; })},
        {R"({"soakBanked": "12"})", {}},
        {R"({"soakSeconds": 7200})", with([](auto& s) { s.soakSeconds = 7200; })},
        {R"({"soakSeconds": 0})", {}},
        {R"({"soakSeconds": -5})", {}},
        {R"({"soakSeconds": 7200.5})", {}},
        {R"({"soakSeconds": 9007199254740993})", {}},
        {R"({"drainTarget": 12})", with([](auto& s) { s.drainTarget = 12; })},
        {R"({"drainTarget": 0})", {}},
        {R"({"drainTarget": "12"})", {}},
        {R"({"runs": {"at": 5}})", {}},
        {R"({"runs": [7, {"at": 5, "design": 4000, "afterRaw": "4000", "beforeRaw": 3999.5}, null]})",
         with([](auto& s) { s.runs = {makeRun(5, {}, {}, {}, 4000)}; })},
        {R"({"runs": [{"beforeRaw": 1, "afterRaw": 2, "afterNominal": 3, "design": 4, "cyclesAfter": 5}]})",
         with([](auto& s) { s.runs = {makeRun(0, 1, 2, 3, 4, 5)}; })},
        {R"({"lastFailure": "Your Mac went to sleep."})", with([](auto& s) {
             s.lastFailure = Failure{"legacy", Phase::idle, "Your Mac went to sleep."};
         })},
        {R"({"lastFailure": {"reason": "stalled", "phase": "refill"}})", with([](auto& s) {
             s.lastFailure = Failure{"stalled", Phase::refill, std::nullopt};
         })},
        {R"({"lastFailure": {"reason": "unplugged", "phase": "later"}})", with([](auto& s) {
             s.lastFailure = Failure{"unplugged", Phase::idle, std::nullopt};
         })},
        {R"({"lastFailure": {"phase": "drain"}})", {}},
        {R"({"lastFailure": {"reason": 3}})", {}},
        {R"({"lastFailure": 3})", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(decode(c.json), c.expected) << c.json;
}

TEST(CalibrationEncode, DecodesBackToTheSameStatus) {
    CalibrationStatus status;
    status.phase = Phase::soak;
    status.startedAt = 1750000000.25;
    status.soakBanked = 901.5;
    status.soakSeconds = 5400;
    status.drainTarget = 10;
    status.runs = {makeRun(1740000000, 4100, 4050, 4000, 4382, 310),
                   makeRun(1750000000.5, std::nullopt, 3990)};
    for (const auto& failure : {Failure{"stalled", Phase::drain, std::nullopt},
                                Failure{"legacy", Phase::idle, "Your Mac went to sleep."},
                                Failure{"legacy", Phase::fill, std::nullopt}}) {
        status.lastFailure = failure;
        const auto wire = status.encode().dump();
        EXPECT_EQ(CalibrationStatus::decode(json::Value::parse(wire)), status) << wire;
    }
    // Older services wrote the sentence itself; the legacy form goes back out the same way.
    EXPECT_EQ(status.encode()["lastFailure"], json::Value({{"reason", "legacy"}, {"phase", "fill"}}));
    status.lastFailure = Failure{"legacy", Phase::idle, "Your Mac went to sleep."};
    EXPECT_EQ(status.encode()["lastFailure"], "Your Mac went to sleep.");
}

TEST(CalibrationPhase, LabelsReasonsAndSteps) {
    struct Case {
        Phase phase;
        const char* word;
        int step;
        const char* label;
        std::optional<std::string> reason;
    };
    const Case cases[] = {
        {Phase::idle, "idle", 0, "Idle", std::nullopt},
        {Phase::fill, "fill", 1, "Charge to 100%", "Gives the gauge a known ceiling to measure down from."},
        {Phase::drain, "drain", 2, "Run down to 12%",
         "This is the measurement. It has to run in one go, so charging stays off even while you're plugged "
         "in."},
        {Phase::refill, "refill", 3, "Back up to 100%",
         "A gauge publishes what it learned on the way back to full, not at the bottom."},
        {Phase::soak, "soak", 4, "Hold full, then finish",
         "Charging tapers off at the end. Sitting there is what lets it finish, so full gets marked as "
         "full."},
        {Phase::restore, "restore", 5, "Back to your limit",
         "Leaving a battery at 100% is what you bought Torvel to avoid."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.phase.wireWord(), c.word);
        EXPECT_EQ(Phase::fromWire(c.word), c.phase);
        EXPECT_EQ(c.phase.step(), c.step);
        EXPECT_EQ(c.phase.label(12), c.label);
        EXPECT_EQ(c.phase.reason(), c.reason);
    }
}

TEST(CalibrationFailure, TextByReason) {
    const std::string stopped = "The run stopped before it could finish.";
    struct Case {
        Failure failure;
        std::string text;
    };
    const Case cases[] = {
        {{"stalled", Phase::refill, std::nullopt},
         "Nothing moved for three days at step 3. The run was stopped, and the battery went back to your "
         "limit."},
        {{"stalled", Phase::fill, std::nullopt},
         "Nothing moved for three days at step 1. The run was stopped, and the battery went back to your "
         "limit."},
        {{"stalled", Phase::restore, "ignored"},
         "Nothing moved for three days at step 5. The run was stopped, and the battery went back to your "
         "limit."},
        {{"stalled", Phase::idle, std::nullopt},
         "Nothing moved for three days. The run was stopped, and the battery went back to your limit."},
        {{"legacy", Phase::idle, "Your Mac went to sleep."}, "Your Mac went to sleep."},
        {{"legacy", Phase::idle, std::nullopt}, stopped},
        {{"unplugged", Phase::drain, "ignored"}, stopped},
        {{"", Phase::idle, std::nullopt}, stopped},
    };
    for (const auto& c : cases) EXPECT_EQ(c.failure.text(), c.text) << c.failure.reason;
}

TEST(CalibrationRunPct, PercentOfDesignRoundedHalfAway) {
    struct Case {
        std::optional<std::int64_t> value, design, pct;
    };
    const Case cases[] = {
        {3990, 4000, 100}, {3980, 4000, 100}, {3979, 4000, 99}, {1, 200, 1},    {4400, 4000, 110},
        {-1, 200, -1},     {3990, 0, {}},     {3990, -4, {}},   {3990, {}, {}}, {{}, 4000, {}},
    };
    for (const auto& c : cases) {
        CalibrationRun run;
        run.design = c.design;
        EXPECT_EQ(run.pct(c.value), c.pct) << c.value.value_or(-1) << "/" << c.design.value_or(-1);
    }
}

CalibrationStatus withRuns(std::vector<CalibrationRun> runs) {
    CalibrationStatus status;
    status.runs = std::move(runs);
    return status;
}

TEST(CalibrationVerdict, FromTheLastRunsChangeInRawCapacity) {
    const std::string truth =
        "The gauge came back with the number it started with, so it was already telling the truth.";
    struct Case {
        std::optional<std::int64_t> before, after;
        std::optional<std::string> verdict;
    };
    const Case cases[] = {
        {5000, 4976, truth},
        {5000, 4975, "The gauge had been reading over by 25 mAh."},
        {5000, 5024, truth},
        {5000, 5025, "The gauge had been reading under by 25 mAh."},
        {5000, 5000, truth},
        {{}, 4975, std::nullopt},
        {5000, {}, std::nullopt},
        {INT64_MIN, INT64_MAX, "The gauge had been reading under by 18446744073709551615 mAh."},
    };
    for (const auto& c : cases) {
        CalibrationRun last;
        last.beforeRaw = c.before;
        last.afterRaw = c.after;
        last.design = 0;  // mAh alone decides
        EXPECT_EQ(withRuns({makeRun(0), last}).verdict(), c.verdict);
    }
    EXPECT_EQ(withRuns({}).verdict(), std::nullopt);
    // Only the last run counts.
    EXPECT_EQ(withRuns({makeRun(0, 5000, 4000), makeRun(0)}).verdict(), std::nullopt);
}

TEST(CalibrationMacOSGap, NominalThenRawWhenTheyDiffer) {
    struct Case {
        CalibrationRun last;
        std::optional<std::string> gap;
    };
    const Case cases[] = {
        {makeRun(0, {}, 4300, 4000, 5000),
         "System Settings says 80%, which is Apple's smoothed figure. 86% is what the cells reported after "
         "the "
         "sweep."},
        {makeRun(0, {}, 4010, 4000, 5000), std::nullopt},  // 80.2% and 80%: the same figure once rounded
        {makeRun(0, {}, 4300, 4000, 0), std::nullopt},
        {makeRun(0, {}, {}, 4000, 5000), std::nullopt},
        {makeRun(0, {}, 4300, {}, 5000), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(withRuns({makeRun(0, {}, 1000, 1000, 5000), c.last}).macOSGap(), c.gap);
    EXPECT_EQ(withRuns({}).macOSGap(), std::nullopt);
}

TEST(CalibrationTrend, SpanAndChangeBetweenFirstAndLastRun) {
    constexpr double day = 86'400;
    struct Case {
        double days;
        std::optional<std::int64_t> firstRaw, lastRaw, firstDesign, lastDesign;
        std::optional<std::string> trend;
    };
    const Case cases[] = {
        {20, 4000, 4000, 5000, 5000,
         "Measured over 1 month, your capacity hasn't dropped. It's holding at 80%."},
        {14, 4000, 4000, 5000, 5000, std::nullopt},
        {15, 4000, 4100, 5000, 5000,
         "Measured over 1 month, your capacity hasn't dropped. It's holding at 82%."},
        {75, 4000, 3900, 5000, 5000, "Measured over 3 months, you've lost 100 mAh: 80% down to 78%."},
        {345, 4000, 3900, 5000, 5000, "Measured over 12 months, you've lost 100 mAh: 80% down to 78%."},
        {400, 4000, 3800, 5000, 5000, "Measured over 1 year, you've lost 200 mAh: 80% down to 76%."},
        {800, 4000, 3800, 5000, 4000, "Measured over 2 years, you've lost 200 mAh: 80% down to 95%."},
        {-400, 4000, 3800, 5000, 5000, std::nullopt},
        {400, 4000, 3800, 0, 5000, std::nullopt},
        {400, 4000, 3800, 5000, {}, std::nullopt},
        {400, {}, 3800, 5000, 5000, std::nullopt},
        {1e300, 4000, 3800, 5000, 5000, std::nullopt},
    };
    for (const auto& c : cases) {
        const CalibrationRun first = makeRun(1'700'000'000, {}, c.firstRaw, {}, c.firstDesign);
        const CalibrationRun last = makeRun(1'700'000'000 + c.days * day, {}, c.lastRaw, {}, c.lastDesign);
        EXPECT_EQ(withRuns({first, makeRun(0), last}).trend(), c.trend) << c.days << " days";
    }
    EXPECT_EQ(withRuns({makeRun(0, {}, 4000, {}, 5000)}).trend(), std::nullopt);
}

}  // namespace
}  // namespace torvel
