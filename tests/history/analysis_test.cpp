#include "history/analysis.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "common/fmt.h"

namespace torvel {
namespace {

using Report = HistoryAnalysis::DayReport;
using Tint = HistoryAnalysis::Tint;

constexpr Instant march7 = 1741302000;  // local midnight in Europe/Paris

// `minutes` readings one minute apart from `start`, all alike.
std::vector<HistorySample> steady(Instant start, int count, std::int64_t pct, std::optional<double> temp = {},
                                  std::string state = "allow", bool plugged = false) {
    std::vector<HistorySample> samples;
    for (int i = 0; i < count; ++i) samples.push_back({start + i * 60.0, pct, state, plugged, temp});
    return samples;
}

std::vector<HistorySample> joined(std::vector<HistorySample> a, const std::vector<HistorySample>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<HistorySample> percentages(std::initializer_list<std::int64_t> pcts) {
    std::vector<HistorySample> samples;
    for (const auto pct : pcts)
        samples.push_back({static_cast<Instant>(samples.size()) * 60.0, pct, "allow", false, {}});
    return samples;
}

std::vector<HistorySample> states(std::initializer_list<const char*> words) {
    std::vector<HistorySample> samples;
    for (const char* word : words)
        samples.push_back({static_cast<Instant>(samples.size()) * 60.0, 50, word, true, {}});
    return samples;
}

TEST(HistoryAnalysisReport, WeighsEachReadingUntilTheNextCappedAtTenMinutes) {
    struct Case {
        const char* name;
        std::vector<HistorySample> samples;
        int thermalLimit;
        HistoryAnalysis::Stress stress;
        std::int64_t cappedMinutes, chargeStops, recordedMinutes;
    };
    // 8 hours at full charge, the first 6 of them at 36 °C: 25 + 45 + 8 (reached the limit of 35).
    const auto fullAndHot = joined(steady(0, 360, 100, 36.0), steady(360 * 60, 121, 100, 30.0));
    const Case cases[] = {
        {"no samples", {}, 40, {}, 0, 0, 0},
        {"one sample", steady(0, 1, 100, 50.0, "hold", true), 40, {8, 0, 0, 0, 0}, 0, 0, 1},
        {"an hour at full, the last weighs nothing", steady(0, 60, 100), 40, {7, 59, 0, 0, 0}, 0, 0, 59},
        {"a three-hour gap counts ten minutes",
         {{0, 100, "allow", false, {}}, {10800, 100, "allow", false, {}}},
         40,
         {1, 10, 0, 0, 0},
         0,
         0,
         180},
        {"full and hot", fullAndHot, 35, {78, 480, 360, 0, 0}, 0, 0, 480},
        {"deep at 20%, not at 21%",
         joined(steady(0, 31, 20), steady(1860, 30, 21)),
         40,
         {5, 0, 0, 31, 1},
         0,
         0,
         60},
        {"deep caps at 15", steady(0, 200, 5), 40, {15, 0, 0, 199, 0}, 0, 0, 199},
        {"hot from 35.0",
         joined(steady(0, 13, 50, 35.0), steady(780, 2, 50, 34.9)),
         40,
         {1, 0, 13, 0, 0},
         0,
         0,
         14},
        {"rises of at least a point", percentages({50, 60, 55, 70}), 40, {3, 0, 0, 0, 25}, 0, 0, 3},
        {"held while plugged",
         joined(steady(0, 7, 80, {}, "hold", true), steady(420, 3, 80, {}, "hold", false)),
         40,
         {0, 0, 0, 0, 0},
         7,
         0,
         9},
        {"stops: allow to hold", states({"allow", "hold", "allow", "hold"}), 40, {0, 0, 0, 0, 0}, 1, 2, 3},
        {"stops: hold first is no stop", states({"hold", "allow", "hold"}), 40, {0, 0, 0, 0, 0}, 1, 1, 2},
        {"stops: other words are not a hold",
         states({"allow", "discharge", "allow"}),
         40,
         {0, 0, 0, 0, 0},
         1,
         0,
         2},
    };
    for (const auto& c : cases) {
        const Report report = HistoryAnalysis::report(c.samples, march7, c.thermalLimit);
        EXPECT_EQ(report.stress, c.stress) << c.name;
        EXPECT_EQ(report.cappedMinutes, c.cappedMinutes) << c.name;
        EXPECT_EQ(report.chargeStops, c.chargeStops) << c.name;
        EXPECT_EQ(report.recordedMinutes, c.recordedMinutes) << c.name;
        EXPECT_EQ(report.samples.size(), c.samples.size()) << c.name;
        EXPECT_EQ(report.day, march7) << c.name;
        EXPECT_EQ(report.thermalLimit, c.thermalLimit) << c.name;
    }
}

TEST(HistoryAnalysisReport, OutOfOrderReadingsSubtractTime) {
    const std::vector<HistorySample> samples = {
        {0, 100, "allow", false, {}}, {600, 100, "allow", false, {}}, {300, 100, "allow", false, {}}};
    EXPECT_EQ(HistoryAnalysis::report(samples, 0, 40).stress.atFullMinutes, 5);
}

TEST(HistoryAnalysisReport, PeaksRangesAndCycles) {
    const std::vector<HistorySample> samples = {
        {10, 50, "allow", false, 30.0}, {20, 60, "allow", false, std::nullopt},
        {30, 55, "allow", false, 33.5}, {40, 70, "allow", false, 33.5},
        {50, 45, "allow", false, 31.0},
    };
    const Report report = HistoryAnalysis::report(samples, march7, 40);
    EXPECT_EQ(report.maxTemp, 33.5);
    EXPECT_EQ(report.maxTempDate, 30) << "the first of equal peaks";
    EXPECT_EQ(report.minPct, 45);
    EXPECT_EQ(report.maxPct, 70);
    EXPECT_DOUBLE_EQ(report.stress.throughput, 25);
    EXPECT_DOUBLE_EQ(report.cyclesUsed, 0.25);

    const Report empty = HistoryAnalysis::report({}, march7, 40);
    EXPECT_FALSE(empty.maxTemp || empty.maxTempDate || empty.minPct || empty.maxPct);
}

Report withStress(std::int64_t atFull, std::optional<double> peak, std::int64_t capped = 0,
                  int thermalLimit = 40) {
    Report report = HistoryAnalysis::report(steady(0, 2, 50), march7, thermalLimit);
    report.stress.atFullMinutes = atFull;
    report.maxTemp = peak;
    report.cappedMinutes = capped;
    return report;
}

TEST(HistoryAnalysisWords, HeadlineAndSummaryLine) {
    struct Case {
        Report report;
        const char* headline;
        const char* summary;
    };
    const Case cases[] = {
        {HistoryAnalysis::report(steady(0, 1, 100), march7, 40), "Not enough readings yet",
         "The history has only just started. Today's summary appears as soon as there are a few hours of "
         "readings."},
        {withStress(0, std::nullopt), "An easy day for the battery", "Good day: 0h spent at 100%."},
        {withStress(29, 39.96), "An easy day for the battery",
         "Good day: 29 min spent at 100%, peak temperature 40.0 °C."},
        {withStress(0, 40.0), "A hot day for the battery",
         "Hot day: 0h spent at 100%, peak temperature 40.0 °C."},
        {withStress(30, 45.0), "Battery stayed at full charge",
         "Worth watching: 30 min spent at 100%, peak temperature 45.0 °C."},
        {withStress(125, std::nullopt, 5), "Battery stayed at full charge",
         "Worth watching: 2h 5 spent at 100%."},
        {withStress(120, std::nullopt, 6), "Battery stayed at full charge",
         "Worth watching: 2h spent at 100%. Torvel held the charge at your limit for 6 min."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.report.headline(), c.headline) << c.summary;
        EXPECT_EQ(HistoryAnalysis::summaryLine(c.report), c.summary);
    }
    Fmt::useLocale("ja");
    EXPECT_EQ(HistoryAnalysis::summaryLine(withStress(0, std::nullopt, 90)),
              "Good day: 0h spent at 100%.Torvel held the charge at your limit for 1h 30.");
    Fmt::useLocale("en");
}

TEST(HistoryAnalysisWords, Duration) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "0 min"}, {45, "45 min"}, {59, "59 min"},  {60, "1h"},
        {120, "2h"},  {125, "2h 5"},  {1441, "24h 1"}, {-5, "-5 min"},
    };
    for (const auto& [minutes, text] : cases) EXPECT_EQ(HistoryAnalysis::duration(minutes), text);
}

struct InsightCase {
    const char* name;
    Report report;
    int limit;
    std::optional<std::int64_t> cycleCount;
    std::optional<double> health;
    std::int64_t daysRecorded;
    std::vector<std::tuple<std::string, Tint, std::string, std::string>> expected;
};

TEST(HistoryAnalysisInsights, CardsInOrderEndingWithTheProjection) {
    Report busy = withStress(90, 41.25, 30, 40);
    busy.maxTempDate = march7 + 14.5 * 3600;
    busy.stress.score = 50;
    busy.cyclesUsed = 0.6;
    Report calm = withStress(0, 31.0, 0, 40);
    calm.maxTempDate.reset();
    calm.cyclesUsed = 0.05;
    Report stoppedOnce = withStress(0, std::nullopt);
    stoppedOnce.chargeStops = 1;
    Report stoppedTwice = withStress(0, std::nullopt);
    stoppedTwice.chargeStops = 3;
    const std::string wait =
        " of readings before your wear can be projected. Torvel will not guess on your behalf.";
    const InsightCase cases[] = {
        {"only just started",
         HistoryAnalysis::report(steady(0, 1, 50), march7, 40),
         80,
         100,
         95.0,
         30,
         {{"clock.arrow.circlepath", Tint::text2, "The history has only just started",
           "Torvel records the state of the battery continuously. The journal fills up within the first few "
           "hours. "
           "Come back a little later."}}},
        {"a busy day",
         busy,
         90,
         312,
         90.0,
         20,
         {{"exclamationmark.triangle.fill", Tint::gold, "1h 30 at 100%",
           "Sitting at full charge is what damages a lithium battery most. A limit at 80% would remove that "
           "time "
           "entirely."},
          {"thermometer.medium", Tint::ember, "Peak of 41.2 °C around 2:30\u202fPM",
           "Above the 40 °C threshold: overheat protection paused charging until it came back down."},
          {"arrow.triangle.2.circlepath", Tint::text2, "0.6 cycle used",
           "A busy day for the battery. 312 cycles in total."},
          {"leaf.fill", Tint::mint, "30 min under your limit",
           "Time Torvel held the charge below 90% instead of letting it climb."},
          {"sparkles", Tint::gold, "Projection: 85% in 12 months",
           "With your current habits. With no charge limit: 82%."}}},
        {"a calm day",
         calm,
         75,
         std::nullopt,
         std::nullopt,
         13,
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "The battery never reached 100%. That is the number one wear factor, and today it is at zero."},
          {"thermometer.medium", Tint::text2, "Peak of 31.0 °C",
           "Well below the 40 °C threshold: overheat protection had nothing to do."},
          {"sparkles", Tint::gold, "Health projection", "One more day" + wait}}},
        {"stopped once",
         stoppedOnce,
         75,
         5,
         90.0,
         10,
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "Charging stopped at 75% once. That is the number one wear factor, and today it is at zero."},
          {"sparkles", Tint::gold, "Health projection", "4 more days" + wait}}},
        {"stopped three times, health unknown after two weeks",
         stoppedTwice,
         80,
         5,
         std::nullopt,
         40,
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "Charging stopped at 80% 3 times. That is the number one wear factor, and today it is at zero."},
          {"sparkles", Tint::gold, "Health projection", "One more day" + wait}}},
        {"advice names the lower limit",
         withStress(10, std::nullopt),
         75,
         {},
         5.0,
         14,
         {{"exclamationmark.triangle.fill", Tint::gold, "10 min at 100%",
           "Sitting at full charge is what damages a lithium battery most. A limit at 75% would remove that "
           "time "
           "entirely."},
          {"sparkles", Tint::gold, "Projection: 3% in 12 months",
           "With your current habits. With no charge limit: 0%."}}},
    };
    for (const auto& c : cases) {
        const auto insights = HistoryAnalysis::insights(c.report, c.limit, c.report.thermalLimit,
                                                        c.cycleCount, c.health, c.daysRecorded);
        ASSERT_EQ(insights.size(), c.expected.size()) << c.name;
        for (std::size_t i = 0; i < insights.size(); ++i) {
            const auto& [icon, tint, title, body] = c.expected[i];
            EXPECT_EQ(insights[i].icon, icon) << c.name << " #" << i;
            EXPECT_EQ(insights[i].tint, tint) << c.name << " #" << i;
            EXPECT_EQ(insights[i].title, title) << c.name << " #" << i;
            EXPECT_EQ(insights[i].body, body) << c.name << " #" << i;
        }
    }
}

TEST(HistoryAnalysisInsights, EveryCardHasAFreshIdentity) {
    const Report report = withStress(90, 41.0, 30);
    std::set<std::string> ids;
    for (int round = 0; round < 2; ++round) {
        for (const auto& insight : HistoryAnalysis::insights(report, 80, 40, 1, 90.0, 20)) {
            EXPECT_EQ(insight.id.size(), 36u);
            EXPECT_TRUE(ids.insert(insight.id).second) << insight.id;
        }
    }
}

}  // namespace
}  // namespace torvel
