#include "history/analysis.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "common/fmt.h"
#include "history_support.h"

namespace torvel {
namespace {

using Report = HistoryAnalysis::DayReport;
using Tint = HistoryAnalysis::Tint;
using testing::march7;
using testing::reading;
using testing::report;
using testing::steady;

std::vector<HistorySample> joined(std::vector<HistorySample> a, const std::vector<HistorySample>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Plugged readings a minute apart with these service states.
std::vector<HistorySample> states(std::initializer_list<const char*> words) {
    std::vector<HistorySample> samples;
    for (const char* word : words)
        samples.push_back(reading(static_cast<double>(samples.size()) * 60, 50, {}, word, true));
    return samples;
}

TEST(HistoryAnalysisReport, WeighsEachReadingUntilTheNextCappedAtTenMinutes) {
    struct Case {
        const char* name;
        std::vector<HistorySample> samples;
        HistoryAnalysis::Stress stress;  // score, minutes at full, hot and deep, throughput
        std::int64_t recordedMinutes;
        std::int64_t cappedMinutes = 0;
        std::int64_t chargeStops = 0;
        int thermalLimit = 40;
    };
    // 8 hours at full charge, the first 6 of them at 36 °C: 25 + 45 + 8 (reached the limit of 35).
    const auto fullAndHot = joined(steady(0, 360, 100, 36.0), steady(360 * 60, 121, 100, 30.0));
    const auto heldThenUnplugged = joined(steady(0, 7, 80, {}, "hold", true), steady(420, 3, 80, {}, "hold"));
    const std::vector<HistorySample> rises = {reading(0, 50), reading(60, 60), reading(120, 55),
                                              reading(180, 70)};
    const Case cases[] = {
        {"no samples", {}, {}, 0},
        {"one sample", steady(0, 1, 100, 50.0, "hold", true), {8, 0, 0, 0, 0}, 1},
        {"an hour at full, the last weighs nothing", steady(0, 60, 100), {7, 59, 0, 0, 0}, 59},
        {"3 h gap counts 10 min", {reading(0, 100), reading(10800, 100)}, {1, 10, 0, 0, 0}, 180},
        {"backwards", {reading(0, 100), reading(600, 100), reading(300, 100)}, {1, 5, 0, 0, 0}, 5},
        {"full and hot", fullAndHot, {78, 480, 360, 0, 0}, 480, 0, 0, 35},
        {"deep at 20%, not at 21%", joined(steady(0, 31, 20), steady(1860, 30, 21)), {5, 0, 0, 31, 1}, 60},
        {"deep caps at 15", steady(0, 200, 5), {15, 0, 0, 199, 0}, 199},
        {"hot from 35.0", joined(steady(0, 13, 50, 35.0), steady(780, 2, 50, 34.9)), {1, 0, 13, 0, 0}, 14},
        {"rises of a point or more", rises, {3, 0, 0, 0, 25}, 3},
        {"held only while plugged", heldThenUnplugged, {}, 9, 7},
        {"stops: allow to hold", states({"allow", "hold", "allow", "hold"}), {}, 3, 1, 2},
        {"stops: hold first is no stop", states({"hold", "allow", "hold"}), {}, 2, 1, 1},
        {"stops: other words are not a hold", states({"allow", "discharge", "allow"}), {}, 2, 1, 0},
    };
    for (const auto& c : cases) {
        const Report report = HistoryAnalysis::report(c.samples, march7, c.thermalLimit);
        EXPECT_EQ(report.stress, c.stress) << c.name;
        EXPECT_EQ(std::tuple(report.recordedMinutes, report.cappedMinutes, report.chargeStops),
                  std::tuple(c.recordedMinutes, c.cappedMinutes, c.chargeStops))
            << c.name;
        EXPECT_EQ(report.samples, c.samples) << c.name;
        EXPECT_EQ(std::pair(report.day, report.thermalLimit), std::pair(march7, c.thermalLimit)) << c.name;
    }
}

TEST(HistoryAnalysisReport, PeaksRangesAndCycles) {
    const std::vector<HistorySample> samples = {reading(10, 50, 30.0), reading(20, 60), reading(30, 55, 33.5),
                                                reading(40, 70, 33.5), reading(50, 45, 31.0)};
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

TEST(HistoryAnalysisWords, HeadlineSummaryLineAndDuration) {
    const std::tuple<Report, const char*, const char*> cases[] = {
        {report(1), "Not enough readings yet",
         "The history has only just started. Today's summary appears as soon as there are a few hours of "
         "readings."},
        {report(2), "An easy day for the battery", "Good day: 0h spent at 100%."},
        {report(2, 29, 39.96), "An easy day for the battery",
         "Good day: 29 min spent at 100%, peak temperature 40.0 °C."},
        {report(2, 0, 40.0), "A hot day for the battery",
         "Hot day: 0h spent at 100%, peak temperature 40.0 °C."},
        {report(2, 30, 45.0), "Battery stayed at full charge",
         "Worth watching: 30 min spent at 100%, peak temperature 45.0 °C."},
        {report(2, 125, {}, 5), "Battery stayed at full charge", "Worth watching: 2h 5 spent at 100%."},
        {report(2, 120, {}, 6), "Battery stayed at full charge",
         "Worth watching: 2h spent at 100%. Torvel held the charge at your limit for 6 min."},
    };
    for (const auto& [r, headline, summary] : cases) {
        EXPECT_EQ(r.headline(), headline) << summary;
        EXPECT_EQ(HistoryAnalysis::summaryLine(r), summary);
    }
    Fmt::useLocale("ja");
    EXPECT_EQ(HistoryAnalysis::summaryLine(report(2, 0, {}, 90)),
              "Good day: 0h spent at 100%.Torvel held the charge at your limit for 1h 30.");
    Fmt::useLocale("en");

    const std::pair<std::int64_t, const char*> durations[] = {
        {0, "0 min"}, {59, "59 min"}, {60, "1h"}, {120, "2h"}, {125, "2h 5"}, {1441, "24h 1"}, {-5, "-5 min"},
    };
    for (const auto& [minutes, text] : durations) EXPECT_EQ(HistoryAnalysis::duration(minutes), text);
}

TEST(HistoryAnalysisInsights, CardsInOrderEndingWithTheProjectionEachWithAFreshIdentity) {
    Report busy = report(2, 90, 41.25, 30);
    busy.maxTempDate = march7 + 14.5 * 3600;
    busy.stress.score = 50;
    busy.cyclesUsed = 0.6;
    Report calm = report(2, 0, 31.0);
    calm.cyclesUsed = 0.05;
    Report stoppedOnce = report(2);
    stoppedOnce.chargeStops = 1;
    Report stoppedThrice = report(2);
    stoppedThrice.chargeStops = 3;
    const std::string wait =
        " of readings before your wear can be projected. Torvel will not guess on your behalf.";
    const std::string atZero = " That is the number one wear factor, and today it is at zero.";
    const std::string fullHurts =
        "Sitting at full charge is what damages a lithium battery most. A limit at ";
    using Card = std::tuple<std::string, Tint, std::string, std::string>;  // icon, tint, title, body
    struct Case {
        struct {
            Report report;
            int limit;
            std::optional<std::int64_t> cycleCount;
            std::optional<double> health;
            std::int64_t daysRecorded;
        } in;
        std::vector<Card> expected;
    };
    const Case cases[] = {
        {{report(1), 80, 100, 95.0, 30},
         {{"clock.arrow.circlepath", Tint::text2, "The history has only just started",
           "Torvel records the state of the battery continuously. The journal fills up within the first few "
           "hours. Come back a little later."}}},
        {{busy, 90, 312, 90.0, 20},
         {{"exclamationmark.triangle.fill", Tint::gold, "1h 30 at 100%",
           fullHurts + "80% would remove that time entirely."},
          {"thermometer.medium", Tint::ember, "Peak of 41.2 °C around 2:30\u202fPM",
           "Above the 40 °C threshold: overheat protection paused charging until it came back down."},
          {"arrow.triangle.2.circlepath", Tint::text2, "0.6 cycle used",
           "A busy day for the battery. 312 cycles in total."},
          {"leaf.fill", Tint::mint, "30 min under your limit",
           "Time Torvel held the charge below 90% instead of letting it climb."},
          {"sparkles", Tint::gold, "Projection: 85% in 12 months",
           "With your current habits. With no charge limit: 82%."}}},
        {{calm, 75, std::nullopt, std::nullopt, 13},
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "The battery never reached 100%." + atZero},
          {"thermometer.medium", Tint::text2, "Peak of 31.0 °C",
           "Well below the 40 °C threshold: overheat protection had nothing to do."},
          {"sparkles", Tint::gold, "Health projection", "One more day" + wait}}},
        {{stoppedOnce, 75, 5, 90.0, 10},
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "Charging stopped at 75% once." + atZero},
          {"sparkles", Tint::gold, "Health projection", "4 more days" + wait}}},
        // With the health unknown after two weeks there is still nothing to project from.
        {{stoppedThrice, 80, 5, std::nullopt, 40},
         {{"checkmark.circle.fill", Tint::mint, "No time spent at 100%",
           "Charging stopped at 80% 3 times." + atZero},
          {"sparkles", Tint::gold, "Health projection", "One more day" + wait}}},
        // The advice names the lower of the user's limit and 80%.
        {{report(2, 10), 75, std::nullopt, 5.0, 14},
         {{"exclamationmark.triangle.fill", Tint::gold, "10 min at 100%",
           fullHurts + "75% would remove that time entirely."},
          {"sparkles", Tint::gold, "Projection: 3% in 12 months",
           "With your current habits. With no charge limit: 0%."}}},
    };
    std::set<std::string> ids;
    for (const auto& c : cases) {
        std::vector<Card> shown;
        for (const auto& insight : HistoryAnalysis::insights(c.in.report, c.in.limit, 40, c.in.cycleCount,
                                                             c.in.health, c.in.daysRecorded)) {
            shown.emplace_back(insight.icon, insight.tint, insight.title, insight.body);
            EXPECT_EQ(insight.id.size(), 36u);
            EXPECT_TRUE(ids.insert(insight.id).second) << "a repeated identity: " << insight.id;
        }
        EXPECT_EQ(shown, c.expected) << c.in.limit;
    }
}

}  // namespace
}  // namespace torvel
