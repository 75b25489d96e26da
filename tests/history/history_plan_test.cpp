#include "history/history_plan.h"

#include <gtest/gtest.h>

#include "history_support.h"

namespace torvel {
namespace {

using Range = HistoryPlan::Range;
using testing::march7;

constexpr Instant march7At1430 = 1741354200;

TEST(HistoryModelRanges, StartsEndsAndSlotsAtNow) {
    constexpr Instant april2AtNoon = 1743588000;  // a week after the spring clock change
    constexpr Instant march30At10 = 1743321600;   // the 23-hour day
    const std::tuple<Instant, Range, Instant, Instant, int> cases[] = {
        {march7At1430, Range::day, march7, testing::march8, 1440},
        {march7At1430, Range::week, 1740783600, march7At1430, 240},
        {march7At1430, Range::month, 1738796400, march7At1430, 240},
        {april2AtNoon, Range::week, 1743030000, april2AtNoon, 240},
        {april2AtNoon, Range::month, 1741042800, april2AtNoon, 240},
        {march30At10, Range::day, 1743289200, 1743372000, 1440},
        {march7At1430, Range::year, 1709852400, march7At1430, 240},
    };
    for (const auto& [now, range, start, end, buckets] : cases) {
        EXPECT_EQ(std::tuple(HistoryPlan::rangeStart(range, now), HistoryPlan::rangeEnd(range, now),
                             HistoryPlan::bucketCount(range)),
                  std::tuple(start, end, buckets))
            << HistoryPlan::rawValue(range) << " " << now;
    }
    for (const Range range : HistoryPlan::ranges)
        EXPECT_EQ(HistoryPlan::rangeNamed(HistoryPlan::rawValue(range)), range);
    EXPECT_FALSE(HistoryPlan::rangeNamed("decade"));
    // A calendar that cannot place `now` leaves the range at `now`.
    EXPECT_EQ(HistoryPlan::rangeStart(Range::week, 1e300), 1e300);
}

TEST(HistoryModelToday, JournalIsReadyAfterTwentyThreeHoursOfReadings) {
    for (const auto& [hours, ready] :
         {std::pair{22.9, false}, std::pair{23.0, true}, std::pair{0.0, false}}) {
        testing::TempDir dir;
        std::string yesterday, today;
        for (const Instant date : {march7At1430 - hours * 3600, march7At1430})
            (date < march7 ? yesterday : today) += JournalLine::encode(testing::reading(date, 80)) + "\n";
        dir.write("2025-03-06.jsonl", yesterday);
        dir.write("2025-03-07.jsonl", today);
        const auto loaded = HistoryPlan::reloadToday(HistoryStore(dir.path()), march7At1430, 38);
        EXPECT_DOUBLE_EQ(loaded.sparklineHours, hours);
        EXPECT_EQ(HistoryPlan::journalReady(loaded.sparklineHours), ready) << hours;
        EXPECT_EQ(loaded.daysRecorded, 2);
        EXPECT_EQ(loaded.today.thermalLimit, 38);
        EXPECT_EQ(std::pair(loaded.sparkline.start, loaded.sparkline.end),
                  std::pair(march7At1430 - 86'400, march7At1430));
        // The today chart covers the calendar day and only today's readings.
        EXPECT_EQ(std::pair(loaded.day.start, loaded.day.end), std::pair(march7, testing::march8));
        EXPECT_EQ(loaded.day.buckets.size(), 1u);
    }
}

TEST(HistoryModelReload, EmptyHistoryGivesEmptyReportsAndCharts) {
    testing::TempDir dir;
    const HistoryStore store(dir.path() / "history");
    const auto today = HistoryPlan::reloadToday(store, march7At1430, 40);
    EXPECT_EQ(today.daysRecorded, 0);
    EXPECT_EQ(today.sparklineHours, 0);
    EXPECT_TRUE(today.today.samples.empty());
    EXPECT_EQ(today.today.day, march7At1430);
    for (const Range range : HistoryPlan::ranges) {
        const auto view = HistoryPlan::reloadRange(store, range, march7At1430, 40);
        EXPECT_TRUE(view.report.samples.empty() && view.series.buckets.empty());
        EXPECT_EQ(std::tuple(view.report.day, view.series.start, view.series.end),
                  std::tuple(view.start, view.start, view.end));
    }
}

TEST(HistoryModelReload, DayRangeChartsTheWholeDayFromTheFixture) {
    const HistoryStore store(std::filesystem::path(TORVEL_FIXTURES) / "history/journal");
    const auto view = HistoryPlan::reloadRange(store, Range::day, testing::march8 + 12 * 3600, 40);
    ASSERT_EQ(view.report.samples.size(), 3u);
    ASSERT_EQ(view.series.buckets.size(), 3u);
    EXPECT_DOUBLE_EQ(view.series.buckets[0].position, 0);
    EXPECT_DOUBLE_EQ(view.series.buckets[1].position, 60.0 / 86'400);
    EXPECT_DOUBLE_EQ(view.series.buckets[2].position, 600.0 / 86'400);
    EXPECT_EQ(view.report.chargeStops, 1);
}

}  // namespace
}  // namespace torvel
