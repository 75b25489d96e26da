#include "history/history_model.h"

#include <QFuture>
#include <QtConcurrent/QtConcurrentRun>

namespace torvel::app {

namespace {
ChartPlot::Frame chartFrame(HistoryModel::Range range, int thermalLimit) {
    ChartPlot::Frame frame;
    frame.slotCount = torvel::HistoryPlan::bucketCount(range);
    frame.thermalLimit = thermalLimit;
    return frame;
}
}  // namespace

HistoryModel::HistoryModel(std::filesystem::path journal, Clock clock, QObject* parent)
    : QObject(parent),
      store_(std::move(journal)),
      clock_(std::move(clock)),
      todayChart_(chartFrame(Range::day, thermalLimit_)),
      rangeChart_(chartFrame(range_, thermalLimit_)) {
    today_.today.day = clock_();
    today_.today.thermalLimit = thermalLimit_;
    slow_.setInterval(slowInterval);
    slow_.setTimerType(Qt::CoarseTimer);
    connect(&slow_, &QTimer::timeout, this, &HistoryModel::reloadToday);
    live_.setInterval(liveInterval);
    live_.setTimerType(Qt::CoarseTimer);
    connect(&live_, &QTimer::timeout, this, [this] {
        reloadToday();
        reloadRange();
    });
}

QString HistoryModel::rangeName() const {
    return QString::fromUtf8(torvel::HistoryPlan::rawValue(range_));
}

void HistoryModel::setRangeName(const QString& name) {
    if (const auto range = torvel::HistoryPlan::rangeNamed(name.toStdString())) setRange(*range);
}

void HistoryModel::setRange(Range range) {
    if (range_ == range) return;
    range_ = range;
    emit rangeChanged();
    // Before the first refresh the thermal limit is not known yet, and the refresh reloads the range anyway:
    // a year read twice at start-up would cost its time and memory twice.
    if (refreshed_) reloadRange();
}

void HistoryModel::refresh(int thermalLimit) {
    thermalLimit_ = thermalLimit;
    refreshed_ = true;
    reloadToday();
    reloadRange();
}

void HistoryModel::setChargeLimit(int limit) {
    todayChart_.setLimit(limit);
    rangeChart_.setLimit(limit);
}

void HistoryModel::startTicking() {
    if (!slow_.isActive()) slow_.start();
}

void HistoryModel::setLive(bool on) {
    if (on && !live_.isActive()) live_.start();
    if (!on) live_.stop();
}

void HistoryModel::reloadToday() {
    // The worker gets copies only; the store is stateless apart from its directory.
    const HistoryStore store = store_;
    const double now = clock_();
    const int thermal = thermalLimit_;
    ++inFlight_;
    QtConcurrent::run([store, now, thermal] {
        return torvel::HistoryPlan::reloadToday(store, now, thermal);
    }).then(this, [this](torvel::HistoryPlan::Today today) {
        --inFlight_;
        today_ = std::move(today);
        todayChart_.setThermalLimit(today_.today.thermalLimit);
        todayChart_.setSeries(today_.day, torvel::HistoryPlan::bucketCount(Range::day));
        emit todayChanged();
        if (torvel::HistoryPlan::journalReady(today_.sparklineHours)) {
            emit journalReady(QString::fromStdString(HistoryAnalysis::summaryLine(today_.today)));
        }
    });
}

void HistoryModel::reloadRange() {
    const HistoryStore store = store_;
    const double now = clock_();
    const int thermal = thermalLimit_;
    const Range range = range_;
    ++inFlight_;
    QtConcurrent::run([store, range, now, thermal] {
        return torvel::HistoryPlan::reloadRange(store, range, now, thermal);
    }).then(this, [this, range, thermal](QFuture<torvel::HistoryPlan::RangeView> done) {
        --inFlight_;
        // Taken, not copied: a year of samples is tens of megabytes.
        rangeView_ = done.takeResult();
        rangeChart_.setThermalLimit(thermal);
        rangeChart_.setSeries(rangeView_->series, torvel::HistoryPlan::bucketCount(range));
        emit rangeReloaded();
    });
}

}  // namespace torvel::app
