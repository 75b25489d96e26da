#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

namespace torvel::app {

class BatteryMonitor;
class ChargeSettings;
class HistoryModel;

// The words of the Today and Long memory pages: the day's story and figures, the insight cards, the health
// projection and the chosen range in words. Every sentence and rule is core's; this only gathers the inputs
// (the journal, the user's limits, the battery's health and the service's protected time) and hands the
// results to the views.
class JournalPageModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool todayYoung READ todayYoung NOTIFY todayChanged)
    Q_PROPERTY(QString todayTitle READ todayTitle NOTIFY todayChanged)
    Q_PROPERTY(QString todayHeadline READ todayHeadline NOTIFY todayChanged)
    Q_PROPERTY(QString todaySummary READ todaySummary NOTIFY todayChanged)
    Q_PROPERTY(QVariantList todayFigures READ todayFigures NOTIFY todayFiguresChanged)
    Q_PROPERTY(QVariantList insights READ insights NOTIFY insightsChanged)
    Q_PROPERTY(QString projectionTitle READ projectionTitle NOTIFY insightsChanged)
    Q_PROPERTY(QString projectionBody READ projectionBody NOTIFY insightsChanged)
    Q_PROPERTY(QVariantList ranges READ ranges CONSTANT)
    Q_PROPERTY(bool rangeYoung READ rangeYoung NOTIFY rangeChanged)
    Q_PROPERTY(QString rangeHeadline READ rangeHeadline NOTIFY rangeChanged)
    Q_PROPERTY(QString rangeCaption READ rangeCaption NOTIFY rangeChanged)
    Q_PROPERTY(QVariantList rangeFigures READ rangeFigures NOTIFY rangeChanged)
    Q_PROPERTY(QString daysRecorded READ daysRecorded NOTIFY todayChanged)

  public:
    JournalPageModel(HistoryModel& history, ChargeSettings& settings, BatteryMonitor& battery,
                     QObject* parent = nullptr);

    bool todayYoung() const;
    QString todayTitle() const;
    QString todayHeadline() const;
    QString todaySummary() const;
    // The day's figures as {value, caption}: the stress score, time at full, time held at the limit and,
    // once the service has told it, the time protected in all. None while the day has no readings.
    QVariantList todayFigures() const;
    // The cards before the projection, each {icon, tone, title, body}; the projection has its own place.
    QVariantList insights() const { return insights_; }
    QString projectionTitle() const { return projectionTitle_; }
    QString projectionBody() const { return projectionBody_; }
    // The range picker's choices, {value, label}, in picker order.
    static QVariantList ranges();
    bool rangeYoung() const;
    QString rangeHeadline() const;
    QString rangeCaption() const;
    // The range's figures as {label, value} rows.
    QVariantList rangeFigures() const;
    QString daysRecorded() const;

  public slots:
    void recomputeInsights();

  signals:
    void todayChanged();
    void todayFiguresChanged();
    void insightsChanged();
    void rangeChanged();

  private:
    std::optional<double> protectedSeconds() const;

    HistoryModel& history_;
    ChargeSettings& settings_;
    BatteryMonitor& battery_;
    QVariantList insights_;
    QString projectionTitle_;
    QString projectionBody_;
    std::optional<double> protected_;
};

}  // namespace torvel::app
