#include "history/chart_plot.h"

#include <gtest/gtest.h>

#include "history_support.h"

namespace torvel {
namespace {

using testing::march7;
using Point = ChartPlot::Point;
using Band = ChartPlot::Band;

constexpr double minute = 60;
constexpr double oneDay = 86'400;

// Readings a minute apart over [from, to) minutes after midnight, each in the middle of its minute so that
// every one has a day-chart slot of its own.
std::vector<HistorySample> minutes(int from, int to, bool plugged = false,
                                   std::optional<double> temp = 30.0) {
    std::vector<HistorySample> samples;
    for (int m = from; m < to; ++m)
        samples.push_back({march7 + (m + 0.5) * minute, 60, ChargeState::allow, plugged, temp});
    return samples;
}

std::vector<HistorySample> joined(std::initializer_list<std::vector<HistorySample>> parts) {
    std::vector<HistorySample> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

ChartPlot::Frame frame(int slots, std::optional<int> limit = {}, int lowest = 0, bool temperature = true) {
    ChartPlot::Frame frame;
    frame.slotCount = slots;
    frame.lowest = lowest;
    frame.limit = limit;
    frame.thermalLimit = 40;
    frame.temperature = temperature;
    return frame;
}

std::vector<std::size_t> runLengths(const std::vector<ChartPlot::Run>& runs) {
    std::vector<std::size_t> lengths;
    for (const auto& run : runs) lengths.push_back(run.size());
    return lengths;
}

TEST(ChartPlotLay, GapsBreakTheLinesAndBandsFollowThePlug) {
    struct Case {
        const char* name;
        std::vector<HistorySample> samples;
        int slots;
        std::vector<std::size_t> charge;
        std::vector<std::size_t> temperature;
        std::vector<Band> plugged;
    };
    const Case cases[] = {
        {"a missed minute in the day chart is no gap",
         joined({minutes(0, 30), minutes(31, 60)}),
         1440,
         {59},
         {59},
         {}},
        {"twenty silent minutes in the day chart are",
         joined({minutes(0, 60), minutes(80, 90)}),
         1440,
         {60, 10},
         {60, 10},
         {}},
        {"neighbouring sparkline slots join across twenty minutes",
         joined({minutes(0, 120), minutes(140, 160)}),
         80,
         {9},
         {9},
         {}},
        {"an empty sparkline slot is a gap",
         joined({minutes(0, 120), minutes(180, 240)}),
         80,
         {7, 4},
         {7, 4},
         {}},
        {"a lone bucket spans its own slot", minutes(100, 101), 1440, {2}, {2}, {}},
        {"readings without a temperature break only its line",
         joined({minutes(0, 10), minutes(10, 12, false, std::nullopt), minutes(12, 20)}),
         1440,
         {20},
         {10, 8},
         {}},
        {"plugged spans merge, and part at unplugging and at gaps",
         joined({minutes(0, 10, true), minutes(10, 20), minutes(20, 30, true), minutes(60, 70, true)}),
         1440,
         {30, 10},
         {30, 10},
         {{0, 10 / 1440.0}, {20 / 1440.0, 30 / 1440.0}, {60 / 1440.0, 70 / 1440.0}}},
    };
    for (const auto& c : cases) {
        const auto series = ChartSeries::build(c.samples, march7, march7 + oneDay, c.slots);
        const auto plot = ChartPlot::lay(series, frame(c.slots));
        EXPECT_EQ(runLengths(plot.charge), c.charge) << c.name;
        EXPECT_EQ(runLengths(plot.temperature), c.temperature) << c.name;
        ASSERT_EQ(plot.plugged.size(), c.plugged.size()) << c.name;
        for (std::size_t i = 0; i < c.plugged.size(); ++i) {
            EXPECT_NEAR(plot.plugged[i].from, c.plugged[i].from, 1e-9) << c.name;
            EXPECT_NEAR(plot.plugged[i].to, c.plugged[i].to, 1e-9) << c.name;
        }
    }
}

std::vector<double> positions(const std::vector<ChartPlot::Tick>& ticks) {
    std::vector<double> at;
    for (const auto& tick : ticks) at.push_back(tick.at);
    return at;
}

std::vector<std::string> labels(const std::vector<ChartPlot::Tick>& ticks) {
    std::vector<std::string> words;
    for (auto tick : ticks) {
        // ICU separates the hour from AM/PM with a narrow no-break space.
        for (std::size_t at; (at = tick.label.find("\u202F")) != std::string::npos;)
            tick.label.replace(at, 3, " ");
        words.push_back(tick.label);
    }
    return words;
}

TEST(ChartPlotLay, LevelsAndPointsOnTheirScales) {
    const ChartSeries series{{{0.5, 60, 35.0, false}}, march7, march7 + oneDay};
    // A chart that is read gives the temperature its own lane and degrees under the charge's: a 62 % limit
    // and a 40 °C heat limit no longer share a height.
    auto read = frame(80, 62);
    const auto plot = ChartPlot::lay(series, read);
    EXPECT_DOUBLE_EQ(*plot.limitLevel, 0.3 + 0.62 * 0.7);
    EXPECT_DOUBLE_EQ(*plot.heatLevel, 0.625 * 0.22);
    EXPECT_DOUBLE_EQ(plot.chargeBase, 0.3);
    EXPECT_DOUBLE_EQ(plot.charge.front().front().y, 0.3 + 0.6 * 0.7);
    EXPECT_DOUBLE_EQ(plot.temperature.front().front().y, 0.5 * 0.22);
    EXPECT_EQ(labels(plot.temperatureTicks), (std::vector<std::string>{"25 °C", "45 °C"}));
    EXPECT_LT(plot.temperatureTicks.back().at, plot.chargeTicks.front().at);
    // Without its scale (no ticks) the line shares the height, as in the panel.
    read.ticks = false;
    const auto bare = ChartPlot::lay(series, read);
    EXPECT_DOUBLE_EQ(*bare.heatLevel, 0.625);
    EXPECT_EQ(bare.temperature.front().front(), (Point{0.5, 0.5}));
    EXPECT_TRUE(bare.temperatureTicks.empty());

    // The sparkline shares the gauge's scale; a charge below it rests on the bottom edge.
    const ChartSeries low{{{0.5, 10, {}, false}}, march7, march7 + oneDay};
    const auto spark = ChartPlot::lay(low, frame(80, 80, 20, false));
    EXPECT_DOUBLE_EQ(*spark.limitLevel, 0.75);
    EXPECT_EQ(spark.charge.front().front().y, 0);
    EXPECT_FALSE(spark.heatLevel);
    EXPECT_TRUE(spark.temperature.empty());
}

TEST(ChartPlotTicks, FollowTheLocalClockAcrossADaylightSavingChange) {
    // 30 March 2025: Paris skips from 02:00 to 03:00, so the day has 23 hours.
    const Instant march30 = *Dates::parseIsoDay("2025-03-30");
    const Instant march31 = *Dates::parseIsoDay("2025-03-31");
    ASSERT_EQ(march31 - march30, 23 * 3600);
    const auto hours = ChartPlot::ticksFor(march30, march31);
    EXPECT_EQ(positions(hours), (std::vector<double>{0, 5 / 23.0, 11 / 23.0, 17 / 23.0}));
    EXPECT_EQ(labels(hours), (std::vector<std::string>{"12 AM", "6 AM", "12 PM", "6 PM"}));

    // A week up to noon of that day: one tick a midnight, named by weekday.
    const Instant march24 = *Dates::parseIsoDay("2025-03-24");
    const auto week = ChartPlot::ticksFor(march24, march30 + 12 * 3600);
    EXPECT_EQ(labels(week), (std::vector<std::string>{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"}));
    const double weekSpan = march30 + 12 * 3600 - march24;
    EXPECT_DOUBLE_EQ(week.back().at, (march30 - march24) / weekSpan);
    // Weekdays sit in the middle of their day; today's ends at the chart's edge.
    EXPECT_DOUBLE_EQ(week.front().labelAt, 12 * 3600 / weekSpan);
    EXPECT_DOUBLE_EQ(week.back().labelAt, (march30 + 6 * 3600 - march24) / weekSpan);

    // A month: every seventh midnight, counted back from the last.
    const auto month = ChartPlot::ticksFor(*Dates::parseIsoDay("2025-03-01"), march30 + 12 * 3600);
    EXPECT_EQ(labels(month), (std::vector<std::string>{"Mar 2", "Mar 9", "Mar 16", "Mar 23", "Mar 30"}));

    // The last 365 days: the first of each month, the clock changes of both years included.
    const auto year = ChartPlot::ticksFor(*Dates::parseIsoDay("2024-03-31"), march30 + 12 * 3600);
    EXPECT_EQ(labels(year), (std::vector<std::string>{"Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov",
                                                      "Dec", "Jan", "Feb", "Mar"}));
    EXPECT_DOUBLE_EQ(year.front().at,
                     (*Dates::parseIsoDay("2024-04-01") - *Dates::parseIsoDay("2024-03-31")) /
                         (march30 + 12 * 3600 - *Dates::parseIsoDay("2024-03-31")));
}

TEST(ChartPlotReading, WordsForTheBucketUnderThePointer) {
    const ChartSeries today{{{0.5, 61.6, 31.04, true}}, march7, march7 + oneDay};
    const auto noon = ChartPlot::reading(today, today.buckets.front());
    EXPECT_EQ(noon.time, "12:00\u202FPM");
    EXPECT_EQ(noon.charge, "62%");
    EXPECT_EQ(noon.temperature, "31.0 °C");
    EXPECT_TRUE(noon.plugged);

    const ChartSeries week{{{0.5, 40, {}, false}}, march7, march7 + 7 * 86'400};
    const auto reading = ChartPlot::reading(week, week.buckets.front());
    EXPECT_EQ(reading.time.substr(0, 11), "Mon, Mar 10");
    EXPECT_FALSE(reading.temperature);
}

}  // namespace
}  // namespace torvel
