#include "history/model.h"

#include <gtest/gtest.h>

#include "temp_dir.h"

namespace torvel {
namespace {

using Range = HistoryModel::Range;

TEST(HistoryModelRanges, StartsEndsAndSlotsAtNow) {
    struct Case {
        Instant now;
        Range range;
        Instant start, end;
        int buckets;
    };
    constexpr Instant march7At1430 = 1741354200;
    constexpr Instant april2AtNoon = 1743588000;  // a week after the spring clock change
    constexpr Instant march30At10 = 1743321600;   // the 23-hour day
    const Case cases[] = {
        {march7At1430, Range::day, 1741302000, 1741388400, 1440},
        {march7At1430, Range::week, 1740783600, march7At1430, 240},
        {march7At1430, Range::month, 1738796400, march7At1430, 240},
        {april2AtNoon, Range::week, 1743030000, april2AtNoon, 240},
        {april2AtNoon, Range::month, 1741042800, april2AtNoon, 240},
        {march30At10, Range::day, 1743289200, 1743372000, 1440},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HistoryModel::rangeStart(c.range, c.now), c.start)
            << HistoryModel::rawValue(c.range) << " " << c.now;
        EXPECT_EQ(HistoryModel::rangeEnd(c.range, c.now), c.end)
            << HistoryModel::rawValue(c.range) << " " << c.now;
        EXPECT_EQ(HistoryModel::bucketCount(c.range), c.buckets);
    }
    for (const Range range : HistoryModel::ranges)
        EXPECT_EQ(HistoryModel::rangeNamed(HistoryModel::rawValue(range)), range);
    EXPECT_FALSE(HistoryModel::rangeNamed("year"));
    // A calendar that cannot place `now` leaves the range at `now`.
    EXPECT_EQ(HistoryModel::rangeStart(Range::week, 1e300), 1e300);
}

TEST(HistoryModelToday, JournalIsReadyAfterTwentyThreeHoursOfReadings) {
    constexpr Instant now = 1741354200;
    const std::pair<double, bool> cases[] = {{22.9, false}, {23.0, true}, {0, false}};
    for (const auto& [hours, ready] : cases) {
        testing::TempDir dir;
        std::string yesterday, today;
        const Instant first = now - hours * 3600;
        for (const Instant date : {first, now}) {
            (date < 1741302000 ? yesterday : today) +=
                JournalLine::encode({date, 80, "allow", true, {}}) + "\n";
        }
        dir.write("2025-03-06.jsonl", yesterday);
        dir.write("2025-03-07.jsonl", today);
        const auto loaded = HistoryModel::reloadToday(HistoryStore(dir.path()), now, 38);
        EXPECT_DOUBLE_EQ(loaded.sparklineHours, hours);
        EXPECT_EQ(HistoryModel::journalReady(loaded.sparklineHours), ready) << hours;
        EXPECT_EQ(loaded.daysRecorded, 2);
        EXPECT_EQ(loaded.today.thermalLimit, 38);
        EXPECT_EQ(loaded.sparkline.start, now - 86'400);
        EXPECT_EQ(loaded.sparkline.end, now);
    }
}

TEST(HistoryModelReload, EmptyHistoryGivesEmptyReportsAndCharts) {
    testing::TempDir dir;
    const HistoryStore store(dir.path() / "history");
    constexpr Instant now = 1741354200;
    const auto today = HistoryModel::reloadToday(store, now, 40);
    EXPECT_EQ(today.daysRecorded, 0);
    EXPECT_EQ(today.sparklineHours, 0);
    EXPECT_TRUE(today.today.samples.empty());
    EXPECT_EQ(today.today.day, now);
    for (const Range range : HistoryModel::ranges) {
        const auto view = HistoryModel::reloadRange(store, range, now, 40);
        EXPECT_TRUE(view.report.samples.empty());
        EXPECT_EQ(view.report.day, view.start);
        EXPECT_TRUE(view.series.buckets.empty());
        EXPECT_EQ(view.series.start, view.start);
        EXPECT_EQ(view.series.end, view.end);
    }
}

TEST(HistoryModelReload, DayRangeChartsTheWholeDayFromTheFixture) {
    const HistoryStore store(std::filesystem::path(TORVEL_FIXTURES) / "history/journal");
    const auto view = HistoryModel::reloadRange(store, Range::day, 1741388400 + 12 * 3600, 40);
    ASSERT_EQ(view.report.samples.size(), 3u);
    ASSERT_EQ(view.series.buckets.size(), 3u);
    EXPECT_DOUBLE_EQ(view.series.buckets[0].position, 0);
    EXPECT_DOUBLE_EQ(view.series.buckets[1].position, 60.0 / 86'400);
    EXPECT_DOUBLE_EQ(view.series.buckets[2].position, 600.0 / 86'400);
    EXPECT_EQ(view.report.chargeStops, 1);
}

}  // namespace
}  // namespace torvel
