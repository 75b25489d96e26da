#include "history/chart_series.h"

#include <gtest/gtest.h>

#include "history_support.h"

namespace torvel {
namespace {

HistorySample at(Instant date, std::int64_t pct, bool plugged = false, std::optional<double> temp = {}) {
    return {date, pct, ChargeState::allow, plugged, temp};
}

TEST(ChartSeriesBuild, SlotsBetweenInclusiveEnds) {
    struct Case {
        const char* name;
        std::vector<HistorySample> samples;
        std::vector<ChartSeries::Bucket> buckets;
        Instant from = 0, to = 1000;
        int count = 10;
    };
    const std::vector<HistorySample> hottest = {at(900, 10, false, 31.0), at(350, 20),
                                                at(910, 10, false, 33.0), at(920, 10, false, 32.0)};
    const Case cases[] = {
        {"empty span", {at(100, 50)}, {}, 100, 100},
        {"reversed span", {at(100, 50)}, {}, 200, 100},
        {"no slots", {at(100, 50)}, {}, 0, 1000, 0},
        {"no samples", {}, {}},
        {"a sample at the end lands in the last slot", {at(1000, 80)}, {{1.0, 80, {}, false}}},
        {"outside either end is ignored", {at(-1, 10), at(0, 20), at(1001, 30)}, {{0, 20, {}, false}}},
        {"slot means, a tie is plugged",
         {at(0, 40, true), at(50, 60, false, 30.0)},
         {{0.025, 50, 30.0, true}}},
        {"a third plugged is not plugged",
         {at(0, 40, true), at(10, 40), at(20, 40)},
         {{0.01, 40, {}, false}}},
        {"the slot's hottest, or none", hottest, {{0.35, 20, {}, false}, {0.91, 10, 33.0, false}}},
    };
    for (const auto& c : cases) {
        const ChartSeries series = ChartSeries::build(c.samples, c.from, c.to, c.count);
        EXPECT_EQ(std::pair(series.start, series.end), std::pair(c.from, c.to)) << c.name;
        EXPECT_EQ(series.buckets, c.buckets) << c.name;
    }
}

TEST(ChartSeriesNearest, ClosestBucketWithinTenMinutes) {
    const auto expectNearest = [](const ChartSeries& series,
                                  std::vector<std::pair<double, std::optional<double>>> cases) {
        for (const auto& [position, answer] : cases) {
            const auto found = series.nearest(position);
            EXPECT_EQ(found ? std::optional(found->position) : std::nullopt, answer) << position;
        }
    };
    const ChartSeries pair{{{0.40, 50, {}, false}, {0.60, 70, {}, true}}, 0, 86'400};
    expectNearest(pair, {{0.45, 0.40}, {0.55, 0.60}, {0.50, 0.40}, {0.40, 0.40}});
    expectNearest(pair, {{0.60, 0.60}, {0.605, 0.60}, {0.395, 0.40}, {0.99, std::nullopt}});
    expectNearest({{{0.2, 50, {}, false}}, 0, 86'400},
                  {{0.21, std::nullopt}, {0.205, 0.2}, {0.195, 0.2}, {0.19, std::nullopt}});
    // Spans under a second count as one second, so the tolerance stays finite.
    expectNearest({{{0.5, 50, {}, false}}, 0, 0.5}, {{100.0, 0.5}});
    expectNearest({}, {{0.5, std::nullopt}});
}

}  // namespace
}  // namespace torvel
