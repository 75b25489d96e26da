#include "history/chart_plot.h"

#include <algorithm>
#include <cmath>

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {
namespace {

double unit(double value) {
    return std::clamp(value, 0.0, 1.0);
}

constexpr double hour = 3600;
constexpr double day = 24 * hour;

}  // namespace

int ChartPlot::slotOf(double position, int slotCount) {
    if (slotCount <= 0) return 0;
    // A bucket's position is the mean of its samples, so it lies inside its slot; the nudge keeps a mean that
    // rounded just below a slot boundary in the slot it came from.
    const double scaled = std::floor(unit(position) * slotCount + 1e-9);
    return std::min(static_cast<int>(scaled), slotCount - 1);
}

bool ChartPlot::gapBetween(const ChartSeries& series, int slotCount, const ChartSeries::Bucket& earlier,
                           const ChartSeries::Bucket& later) {
    const double seconds = (later.position - earlier.position) * (series.end - series.start);
    return slotOf(later.position, slotCount) - slotOf(earlier.position, slotCount) > 1 &&
           seconds > gapSeconds;
}

double ChartPlot::temperatureLevel(double celsius) {
    return unit((celsius - coolest) / (hottest - coolest));
}

double ChartPlot::chargeLevel(double pct, int lowest) {
    const double bottom = std::clamp(lowest, 0, 99);
    return unit((pct - bottom) / (100 - bottom));
}

namespace {

bool ownTemperatureLane(const ChartPlot::Frame& frame) {
    return frame.temperature && frame.ticks;
}

}  // namespace

double ChartPlot::chargeHeight(double pct, const Frame& frame) {
    const double level = chargeLevel(pct, frame.lowest);
    return ownTemperatureLane(frame) ? chargeLaneBottom + level * (1 - chargeLaneBottom) : level;
}

double ChartPlot::temperatureHeight(double celsius, const Frame& frame) {
    const double level = temperatureLevel(celsius);
    return ownTemperatureLane(frame) ? level * temperatureLaneTop : level;
}

std::vector<ChartPlot::Tick> ChartPlot::ticksFor(Instant start, Instant end) {
    const double span = end - start;
    std::vector<Instant> instants;
    std::string_view skeleton;
    if (!(span > 0)) return {};
    const auto firstDay = Dates::startOfLocalDay(start);
    if (!firstDay) return {};
    if (span <= 1.5 * day) {
        // Every six hours on the clock, also on the days the clock changes. The end is left out: it is the
        // right edge, and a day chart would name midnight twice.
        skeleton = "j";
        for (Instant midnight = *firstDay; midnight < end;) {
            for (int h = 0; h < 24; h += 6) {
                const auto at = Dates::atLocalHour(midnight, h);
                if (at && *at >= start && *at < end) instants.push_back(*at);
            }
            const auto next = Dates::addLocalDays(midnight, 1);
            if (!next || *next <= midnight) break;
            midnight = *next;
        }
    } else if (span > 62 * day) {
        // The first of each month over a year: weeks would crowd the axis with fifty labels.
        skeleton = "MMM";
        for (auto midnight = Dates::addLocalDays(start, 0); midnight && *midnight < end;
             midnight = Dates::addLocalDays(*midnight, 1)) {
            const auto iso = Dates::isoDay(*midnight);
            if (*midnight >= start && iso && iso->ends_with("-01")) instants.push_back(*midnight);
        }
    } else {
        // Each midnight of a week; every seventh, counted back from the last, over longer spans.
        const bool week = span <= 8 * day;
        skeleton = week ? "EEE" : "MMMd";
        std::vector<Instant> midnights;
        for (auto midnight = Dates::addLocalDays(start, 0); midnight && *midnight < end;
             midnight = Dates::addLocalDays(*midnight, 1)) {
            if (*midnight >= start) midnights.push_back(*midnight);
        }
        for (std::size_t i = 0; i < midnights.size(); ++i) {
            if (week || (midnights.size() - 1 - i) % 7 == 0) instants.push_back(midnights[i]);
        }
    }
    const auto labels = Dates::fromSkeleton(instants, skeleton, Fmt::locale());
    std::vector<Tick> ticks;
    for (std::size_t i = 0; i < instants.size() && i < labels.size(); ++i) {
        const double at = (instants[i] - start) / span;
        double labelAt = at;
        if (skeleton == "EEE") {
            // A weekday names the whole day, so it sits between its midnights (today's ends at the edge).
            const double dayEnd =
                i + 1 < instants.size() ? instants[i + 1] : std::min(instants[i] + day, end);
            labelAt = (instants[i] + dayEnd) / 2;
            labelAt = (labelAt - start) / span;
        }
        ticks.push_back({at, labels[i], labelAt});
    }
    return ticks;
}

ChartPlot ChartPlot::lay(const ChartSeries& series, const Frame& frame) {
    ChartPlot plot;
    plot.chargeBase = chargeHeight(frame.lowest, frame);
    if (frame.limit) plot.limitLevel = chargeHeight(*frame.limit, frame);
    if (frame.temperature && frame.thermalLimit)
        plot.heatLevel = temperatureHeight(*frame.thermalLimit, frame);
    if (frame.ticks) {
        plot.timeTicks = ticksFor(series.start, series.end);
        for (const int pct : {0, 50, 100}) {
            const double level = chargeHeight(pct, frame);
            plot.chargeTicks.push_back({level, Fmt::percent(pct), level});
        }
    }
    if (ownTemperatureLane(frame)) {
        for (const int celsius : {25, 45}) {
            const double level = temperatureHeight(celsius, frame);
            plot.temperatureTicks.push_back({level, tr("%1 °C", {std::to_string(celsius)}), level});
        }
    }
    const auto& buckets = series.buckets;
    const int slotCount = std::max(frame.slotCount, 1);
    const double slotWidth = 1.0 / slotCount;
    const ChartSeries::Bucket* previous = nullptr;
    bool temperatureOpen = false;
    for (const auto& bucket : buckets) {
        const bool joined = previous && !gapBetween(series, slotCount, *previous, bucket);
        if (!joined) plot.charge.emplace_back();
        plot.charge.back().push_back({unit(bucket.position), chargeHeight(bucket.pct, frame)});

        // A bucket without a temperature breaks the temperature line only.
        if (bucket.temp && frame.temperature) {
            if (!joined || !temperatureOpen) plot.temperature.emplace_back();
            plot.temperature.back().push_back(
                {unit(bucket.position), temperatureHeight(*bucket.temp, frame)});
        }
        temperatureOpen = bucket.temp.has_value() && frame.temperature;

        if (bucket.plugged) {
            const int slot = slotOf(bucket.position, slotCount);
            const Band band{slot * slotWidth, std::min((slot + 1) * slotWidth, 1.0)};
            if (joined && previous->plugged && !plot.plugged.empty()) {
                plot.plugged.back().to = band.to;
            } else {
                plot.plugged.push_back(band);
            }
        }
        previous = &bucket;
    }
    // A lone bucket is drawn across its own slot: a mark as long as the time it stands for, nothing invented.
    for (auto* runs : {&plot.charge, &plot.temperature}) {
        for (Run& run : *runs) {
            if (run.size() != 1) continue;
            const Point only = run.front();
            const double from = slotOf(only.x, slotCount) * slotWidth;
            run = {{from, only.y}, {std::min(from + slotWidth, 1.0), only.y}};
        }
    }
    return plot;
}

ChartPlot::Reading ChartPlot::reading(const ChartSeries& series, const ChartSeries::Bucket& bucket) {
    const Instant at = series.start + bucket.position * (series.end - series.start);
    const bool withinADay = series.end - series.start <= 1.5 * day;
    Reading words;
    words.time = (withinADay ? Dates::shortTime(at, Fmt::locale())
                             : Dates::fromSkeleton(at, "MMMEdjmm", Fmt::locale()))
                     .value_or("");
    words.charge = Fmt::percent(std::llround(bucket.pct));
    if (bucket.temp) words.temperature = Fmt::decimal(*bucket.temp) + " °C";
    words.plugged = bucket.plugged;
    return words;
}

ViewWords ChartPlot::legend(const Frame& frame) {
    return {
        {"charge", tr("Charge")},
        {"limit", tr("Your limit, %1", {Fmt::percent(frame.limit.value_or(0))})},
        {"temperature", tr("Temperature")},
        {"heatLimit", tr("Heat limit, %1 °C", {std::to_string(frame.thermalLimit.value_or(0))})},
        {"plugged", tr("Plugged in")},
    };
}

}  // namespace torvel
