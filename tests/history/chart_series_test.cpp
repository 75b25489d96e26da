#include "history/chart_series.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using Bucket = ChartSeries::Bucket;

HistorySample at(Instant date, std::int64_t pct, bool plugged = false, std::optional<double> temp = {}) {
    return {date, pct, "allow", plugged, temp};
}

TEST(ChartSeriesBuild, SlotsBetweenInclusiveEnds) {
    struct Case {
        const char* name;
        std::vector<HistorySample> samples;
        Instant from, to;
        int count;
        std::vector<Bucket> buckets;
    };
    const Case cases[] = {
        {"empty span", {at(100, 50)}, 100, 100, 10, {}},
        {"reversed span", {at(100, 50)}, 200, 100, 10, {}},
        {"no slots", {at(100, 50)}, 0, 1000, 0, {}},
        {"no samples", {}, 0, 1000, 10, {}},
        {"a sample at the end lands in the last slot", {at(1000, 80)}, 0, 1000, 10, {{1.0, 80, {}, false}}},
        {"outside either end is ignored",
         {at(-1, 10), at(0, 20), at(1001, 30)},
         0,
         1000,
         10,
         {{0.0, 20, {}, false}}},
        {"means of one slot, a tie counts as plugged",
         {at(0, 40, true), at(50, 60, false, 30.0)},
         0,
         1000,
         10,
         {{0.025, 50, 30.0, true}}},
        {"a third plugged is not plugged",
         {at(0, 40, true), at(10, 40), at(20, 40)},
         0,
         1000,
         10,
         {{0.01, 40, {}, false}}},
        {"hottest of the slot; a slot without temperatures has none",
         {at(900, 10, false, 31.0), at(350, 20), at(910, 10, false, 33.0), at(920, 10, false, 32.0)},
         0,
         1000,
         10,
         {{0.35, 20, {}, false}, {0.91, 10, 33.0, false}}},
    };
    for (const auto& c : cases) {
        const ChartSeries series = ChartSeries::build(c.samples, c.from, c.to, c.count);
        EXPECT_EQ(series.start, c.from) << c.name;
        EXPECT_EQ(series.end, c.to) << c.name;
        ASSERT_EQ(series.buckets.size(), c.buckets.size()) << c.name;
        for (std::size_t i = 0; i < c.buckets.size(); ++i) {
            EXPECT_DOUBLE_EQ(series.buckets[i].position, c.buckets[i].position) << c.name << " #" << i;
            EXPECT_DOUBLE_EQ(series.buckets[i].pct, c.buckets[i].pct) << c.name << " #" << i;
            EXPECT_EQ(series.buckets[i].temp, c.buckets[i].temp) << c.name << " #" << i;
            EXPECT_EQ(series.buckets[i].plugged, c.buckets[i].plugged) << c.name << " #" << i;
        }
    }
}

TEST(ChartSeriesNearest, ClosestBucketWithinTenMinutes) {
    ChartSeries pair{{{0.40, 50, {}, false}, {0.60, 70, {}, true}}, 0, 86'400};
    ChartSeries lone{{{0.2, 50, {}, false}}, 0, 86'400};
    ChartSeries shortSpan{{{0.5, 50, {}, false}}, 0, 0.5};
    struct Case {
        const ChartSeries* series;
        double position;
        std::optional<double> answer;
    };
    const Case cases[] = {
        {&pair, 0.45, 0.40},
        {&pair, 0.55, 0.60},
        {&pair, 0.50, 0.40},
        {&pair, 0.40, 0.40},
        {&pair, 0.60, 0.60},
        {&pair, 0.605, 0.60},
        {&pair, 0.395, 0.40},
        {&pair, 0.99, std::nullopt},
        {&lone, 0.21, std::nullopt},
        {&lone, 0.205, 0.2},
        {&lone, 0.195, 0.2},
        {&lone, 0.19, std::nullopt},
        // Spans under a second count as one second, so the tolerance stays finite.
        {&shortSpan, 100.0, 0.5},
    };
    for (const auto& c : cases) {
        const auto found = c.series->nearest(c.position);
        ASSERT_EQ(found.has_value(), c.answer.has_value()) << c.position;
        if (found) {
            EXPECT_EQ(found->position, *c.answer) << c.position;
        }
    }
    EXPECT_FALSE(ChartSeries{}.nearest(0.5));
}

}  // namespace
}  // namespace torvel
