#include "history/chart_model.h"

#include <QVariantMap>
#include <algorithm>

#include "ui/model_support.h"

namespace torvel::app {

namespace {
QVariantList tickList(const std::vector<ChartPlot::Tick>& ticks) {
    QVariantList list;
    for (const auto& tick : ticks) {
        list << QVariantMap{{QStringLiteral("at"), tick.at},
                            {QStringLiteral("label"), QString::fromStdString(tick.label)},
                            {QStringLiteral("labelAt"), tick.labelAt}};
    }
    return list;
}
}  // namespace

ChartModel::ChartModel(ChartPlot::Frame frame, QObject* parent) : QObject(parent), frame_(frame) {
    relay();
}

void ChartModel::setSeries(const ChartSeries& series, int slotCount) {
    if (slotCount == frame_.slotCount && series.buckets == series_.buckets && series.start == series_.start &&
        series.end == series_.end) {
        return;
    }
    series_ = series;
    frame_.slotCount = slotCount;
    choose(std::nullopt);
    relay();
}

void ChartModel::setLimit(int limit) {
    if (frame_.limit == limit) return;
    frame_.limit = limit;
    relay();
    emit limitChanged();
}

void ChartModel::setThermalLimit(int celsius) {
    if (frame_.thermalLimit == celsius) return;
    frame_.thermalLimit = celsius;
    relay();
    emit thermalLimitChanged();
}

void ChartModel::relay() {
    plot_ = ChartPlot::lay(series_, frame_);
    emit plotChanged();
    assignAndNotify(this, legend_, wordsMap(ChartPlot::legend(frame_)), &ChartModel::legendChanged);
}

QVariantList ChartModel::timeTicks() const {
    return tickList(plot_.timeTicks);
}

QVariantList ChartModel::chargeTicks() const {
    return tickList(plot_.chargeTicks);
}

QVariantList ChartModel::temperatureTicks() const {
    return tickList(plot_.temperatureTicks);
}

double ChartModel::selectedX() const {
    return selection_ ? series_.buckets[*selection_].position : 0;
}

double ChartModel::selectedY() const {
    return selection_ ? ChartPlot::chargeHeight(series_.buckets[*selection_].pct, frame_) : 0;
}

void ChartModel::select(double position) {
    const auto bucket = series_.nearest(position);
    if (!bucket) return choose(std::nullopt);
    const auto& buckets = series_.buckets;
    const auto found =
        std::lower_bound(buckets.begin(), buckets.end(), bucket->position,
                         [](const ChartSeries::Bucket& each, double value) { return each.position < value; });
    choose(static_cast<std::size_t>(found - buckets.begin()));
}

void ChartModel::step(int delta) {
    const auto count = static_cast<long long>(series_.buckets.size());
    if (count == 0) return;
    const long long from = selection_ ? static_cast<long long>(*selection_) : count;
    choose(static_cast<std::size_t>(std::clamp(from + delta, 0LL, count - 1)));
}

void ChartModel::clearSelection() {
    choose(std::nullopt);
}

void ChartModel::choose(std::optional<std::size_t> index) {
    if (index == selection_) return;
    selection_ = index;
    reading_ = index ? ChartPlot::reading(series_, series_.buckets[*index]) : ChartPlot::Reading{};
    emit selectionChanged();
}

}  // namespace torvel::app
