#include "history/chart_series.h"

#include <algorithm>
#include <cmath>

namespace torvel {
namespace {

struct Slot {
    double pctSum = 0;
    double positionSum = 0;
    int samples = 0;
    int plugged = 0;
    std::optional<double> hottest;
};

}  // namespace

ChartSeries ChartSeries::build(const std::vector<HistorySample>& samples, Instant from, Instant to,
                               int count) {
    ChartSeries series;
    series.start = from;
    series.end = to;
    const double span = to - from;
    if (!(span > 0) || samples.empty() || count <= 0) return series;

    std::vector<Slot> slots(static_cast<std::size_t>(count));
    const double slotCount = static_cast<double>(count);
    for (const auto& sample : samples) {
        const double p = (sample.date - from) / span;
        if (!(p >= 0 && p <= 1)) continue;
        const auto index = std::min(static_cast<std::size_t>(p * slotCount), slots.size() - 1);
        Slot& slot = slots[index];
        slot.pctSum += static_cast<double>(sample.pct);
        slot.positionSum += p;
        ++slot.samples;
        if (sample.plugged) ++slot.plugged;
        if (sample.temp && (!slot.hottest || *sample.temp > *slot.hottest)) slot.hottest = sample.temp;
    }
    for (const auto& slot : slots) {
        if (slot.samples == 0) continue;
        const double n = slot.samples;
        // A tie counts as plugged: half a slot on the charger is drawn as charger time.
        series.buckets.push_back(
            {slot.positionSum / n, slot.pctSum / n, slot.hottest, slot.plugged * 2 >= slot.samples});
    }
    return series;
}

std::optional<ChartSeries::Bucket> ChartSeries::nearest(double position) const {
    if (buckets.empty() || std::isnan(position)) return std::nullopt;
    const double tolerance = 600.0 / std::max(end - start, 1.0);
    if (position < buckets.front().position - tolerance || position > buckets.back().position + tolerance) {
        return std::nullopt;
    }
    const auto found =
        std::lower_bound(buckets.begin(), buckets.end() - 1, position,
                         [](const Bucket& bucket, double value) { return bucket.position < value; });
    if (found == buckets.begin()) return *found;
    const auto previous = found - 1;
    if (position - previous->position <= found->position - position) return *previous;
    return *found;
}

}  // namespace torvel
