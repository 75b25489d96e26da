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
    Q_PROPERTY(QString todayCaption READ todayCaption NOTIFY todayChanged)
    Q_PROPERTY(int stressScore READ stressScore NOTIFY todayChanged)
    Q_PROPERTY(int stressTone READ stressTone NOTIFY todayChanged)
    Q_PROPERTY(QString atFull READ atFull NOTIFY todayChanged)
    Q_PROPERTY(int atFullTone READ atFullTone NOTIFY todayChanged)
    Q_PROPERTY(QString heldToday READ heldToday NOTIFY todayChanged)
    Q_PROPERTY(QString protectedTotal READ protectedTotal NOTIFY protectedTotalChanged)
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
    QString todayCaption() const;
    int stressScore() const;
    // A `Looks::Tone`: calm, worth watching, or a day that wore the battery.
    int stressTone() const;
    QString atFull() const;
    int atFullTone() const;
    QString heldToday() const;
    QString protectedTotal() const;
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
    void protectedTotalChanged();
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
