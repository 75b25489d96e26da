#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <functional>

#include "history/chart_model.h"
#include "history/history_plan.h"

namespace torvel::app {

// The journal as the pages see it: today's report, the last day's sparkline and the chosen range. Files are
// read and analysed on a worker thread; results are assigned here, on the main thread, and the last reload
// to finish wins.
class HistoryModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString range READ rangeName WRITE setRangeName NOTIFY rangeChanged)
    Q_PROPERTY(double sparklineHours READ sparklineHours NOTIFY todayChanged)
    Q_PROPERTY(qint64 daysRecorded READ daysRecorded NOTIFY todayChanged)
    Q_PROPERTY(bool hasToday READ hasToday NOTIFY todayChanged)
    Q_PROPERTY(qint64 atFullMinutesToday READ atFullMinutesToday NOTIFY todayChanged)
    Q_PROPERTY(torvel::app::ChartModel* todayChart READ todayChart CONSTANT)
    Q_PROPERTY(torvel::app::ChartModel* rangeChart READ rangeChart CONSTANT)

  public:
    using Clock = std::function<double()>;
    using Range = torvel::HistoryPlan::Range;

    static constexpr std::chrono::milliseconds slowInterval{900'000};
    static constexpr std::chrono::milliseconds liveInterval{60'000};

    HistoryModel(std::filesystem::path journal, Clock clock, QObject* parent = nullptr);

    Range range() const { return range_; }
    void setRange(Range range);
    QString rangeName() const;
    void setRangeName(const QString& name);

    const HistoryAnalysis::DayReport& today() const { return today_.today; }
    const ChartSeries& sparkline() const { return today_.sparkline; }
    double sparklineHours() const { return today_.sparklineHours; }
    qint64 daysRecorded() const { return today_.daysRecorded; }
    bool hasToday() const { return !today_.today.samples.empty(); }
    qint64 atFullMinutesToday() const { return today_.today.stress.atFullMinutes; }
    const std::optional<torvel::HistoryPlan::RangeView>& rangeView() const { return rangeView_; }
    int thermalLimit() const { return thermalLimit_; }
    // Today's whole day, and the chosen range, as charts; each follows its reload.
    ChartModel* todayChart() { return &todayChart_; }
    ChartModel* rangeChart() { return &rangeChart_; }

    bool ticking() const { return slow_.isActive(); }
    bool live() const { return live_.isActive(); }
    // Reloads started and not yet published.
    int reloadsInFlight() const { return inFlight_; }

  public slots:
    // Takes the settings' thermal limit and reloads today, then the range.
    void refresh(int thermalLimit);
    void startTicking();
    void setLive(bool on);
    void reloadToday();
    void reloadRange();
    // The charge limit drawn across both charts.
    void setChargeLimit(int limit);

  signals:
    void rangeChanged();
    void todayChanged();
    void rangeReloaded();
    // The first full day of readings is in; `summary` is today's one-line summary.
    void journalReady(const QString& summary);

  private:
    HistoryStore store_;
    Clock clock_;
    Range range_ = Range::day;
    int thermalLimit_ = torvel::HistoryPlan::initialThermalLimit;
    torvel::HistoryPlan::Today today_;
    std::optional<torvel::HistoryPlan::RangeView> rangeView_;
    ChartModel todayChart_;
    ChartModel rangeChart_;
    QTimer slow_;
    QTimer live_;
    int inFlight_ = 0;
    bool refreshed_ = false;
};

}  // namespace torvel::app
