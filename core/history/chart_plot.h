#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/view_words.h"
#include "history/chart_series.h"

namespace torvel {

// A chart series laid out on a unit square (x 0..1 left to right, y 0..1 bottom to top): the charge and
// temperature as separate runs wherever the journal has a gap, plugged time as bands, the limits as levels
// and the axis ticks in the display locale. Views only scale it to their size; every decision is here.
struct ChartPlot {
    struct Point {
        double x = 0;
        double y = 0;
        bool operator==(const Point&) const = default;
    };
    using Run = std::vector<Point>;
    struct Band {
        double from = 0;
        double to = 0;
        bool operator==(const Band&) const = default;
    };
    struct Tick {
        double at = 0;
        std::string label;
        // Where the label is centred: on its line, or in the middle of the day it names.
        double labelAt = 0;
        bool operator==(const Tick&) const = default;
    };

    // What the chart shows beside the series. `slotCount` is the count the series was built with: it tells an
    // empty slot (a gap) from a merely sparse one.
    struct Frame {
        int slotCount = 0;
        // The charge at the bottom edge: 0 for a chart that is read, the gauge's 20 for a sparkline beside
        // it.
        int lowest = 0;
        std::optional<int> limit;
        std::optional<int> thermalLimit;
        bool temperature = true;
        bool ticks = true;
    };

    // The words for the bucket under the pointer.
    struct Reading {
        std::string time;
        std::string charge;
        std::optional<std::string> temperature;
        bool plugged = false;
    };

    // The quiet temperature line has a fixed scale, so two charts compare at a glance. On a chart that is
    // read (one with ticks) it keeps a lane of its own under the charge, with its own degrees: on a shared
    // height the heat limit lay wherever a charge limit happened to, and the two dashed lines merged.
    static constexpr double coolest = 15;
    static constexpr double hottest = 55;
    static constexpr double temperatureLaneTop = 0.22;
    static constexpr double chargeLaneBottom = 0.3;
    // A journal that stops for longer than this is not joined up: the analysis stops counting time after ten
    // minutes too.
    static constexpr double gapSeconds = 600;

    std::vector<Run> charge;
    std::vector<Run> temperature;
    std::vector<Band> plugged;
    std::optional<double> limitLevel;
    std::optional<double> heatLevel;
    std::vector<Tick> timeTicks;
    std::vector<Tick> chargeTicks;
    std::vector<Tick> temperatureTicks;
    // Where 0 % (or the sparkline's lowest charge) lies: the charge's area is filled down to here.
    double chargeBase = 0;

    static ChartPlot lay(const ChartSeries& series, const Frame& frame);
    // The legend's words for the frame's limits: "Your limit, 80%", "Heat limit, 35 °C" and the marks'.
    static ViewWords legend(const Frame& frame);

    static int slotOf(double position, int slotCount);
    // Whether the line stops between two neighbouring buckets: at least one slot between them is empty and
    // more than `gapSeconds` passed. A single missed minute in the day chart is no gap; an empty sparkline
    // slot (eighteen minutes) is.
    static bool gapBetween(const ChartSeries& series, int slotCount, const ChartSeries::Bucket& earlier,
                           const ChartSeries::Bucket& later);
    static double temperatureLevel(double celsius);
    static double chargeLevel(double pct, int lowest);
    // Where a charge or a temperature lies in a plot laid out with `frame`.
    static double chargeHeight(double pct, const Frame& frame);
    static double temperatureHeight(double celsius, const Frame& frame);
    static std::vector<Tick> ticksFor(Instant start, Instant end);
    static Reading reading(const ChartSeries& series, const ChartSeries::Bucket& bucket);
};

}  // namespace torvel
