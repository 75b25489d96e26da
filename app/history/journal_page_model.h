#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <optional>

namespace torvel::app {

class BatteryMonitor;
class ChargeSettingsModel;
class HistoryModel;

// The words of the Today and Long memory pages: the day's story and figures, the insight cards, the health
// projection and the chosen range in words. Every sentence and rule is core's; this only gathers the inputs
// (the journal, the user's limits, the battery's health and the service's protected time) and hands the
// results to the views.
class JournalPageModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap words READ words CONSTANT)
    Q_PROPERTY(bool todayYoung READ todayYoung NOTIFY todayYoungChanged)
    Q_PROPERTY(QString todayTitle READ todayTitle NOTIFY todayTitleChanged)
    Q_PROPERTY(QString todayHeadline READ todayHeadline NOTIFY todayHeadlineChanged)
    Q_PROPERTY(QString todaySummary READ todaySummary NOTIFY todaySummaryChanged)
    Q_PROPERTY(QVariantList todayFigures READ todayFigures NOTIFY todayFiguresChanged)
    Q_PROPERTY(QVariantList insights READ insights NOTIFY insightsChanged)
    Q_PROPERTY(QString projectionTitle READ projectionTitle NOTIFY projectionTitleChanged)
    Q_PROPERTY(QString projectionBody READ projectionBody NOTIFY projectionBodyChanged)
    Q_PROPERTY(QVariantList ranges READ ranges CONSTANT)
    Q_PROPERTY(bool rangeYoung READ rangeYoung NOTIFY rangeYoungChanged)
    Q_PROPERTY(QString rangeHeadline READ rangeHeadline NOTIFY rangeHeadlineChanged)
    Q_PROPERTY(QString rangeCaption READ rangeCaption NOTIFY rangeCaptionChanged)
    Q_PROPERTY(QVariantList rangeFigures READ rangeFigures NOTIFY rangeFiguresChanged)
    Q_PROPERTY(QString daysRecorded READ daysRecorded NOTIFY daysRecordedChanged)

  public:
    JournalPageModel(HistoryModel& history, ChargeSettingsModel& settings, BatteryMonitor& battery,
                     QObject* parent = nullptr);

    static QVariantMap words();
    bool todayYoung() const { return shown_.todayYoung; }
    QString todayTitle() const { return shown_.todayTitle; }
    QString todayHeadline() const { return shown_.todayHeadline; }
    QString todaySummary() const { return shown_.todaySummary; }
    // The day's figures as {value, caption}.
    QVariantList todayFigures() const { return shown_.todayFigures; }
    // The cards before the projection, each {icon, tone, title, body}; the projection has its own place.
    QVariantList insights() const { return shown_.insights; }
    QString projectionTitle() const { return shown_.projectionTitle; }
    QString projectionBody() const { return shown_.projectionBody; }
    // The range picker's choices, {value, label}, in picker order.
    static QVariantList ranges();
    bool rangeYoung() const { return shown_.rangeYoung; }
    QString rangeHeadline() const { return shown_.rangeHeadline; }
    QString rangeCaption() const { return shown_.rangeCaption; }
    // The range's figures as {label, value} rows.
    QVariantList rangeFigures() const { return shown_.rangeFigures; }
    QString daysRecorded() const { return shown_.daysRecorded; }

  public slots:
    // Today's words and figures, from the journal's day and the service's protected time.
    void publishToday();
    // The cards, from the day, the user's limits and the battery's health.
    void publishInsights();
    void publishRange();

  signals:
    void todayYoungChanged();
    void todayTitleChanged();
    void todayHeadlineChanged();
    void todaySummaryChanged();
    void todayFiguresChanged();
    void insightsChanged();
    void projectionTitleChanged();
    void projectionBodyChanged();
    void rangeYoungChanged();
    void rangeHeadlineChanged();
    void rangeCaptionChanged();
    void rangeFiguresChanged();
    void daysRecordedChanged();

  private:
    std::optional<double> protectedSeconds() const;

    HistoryModel& history_;
    ChargeSettingsModel& settings_;
    BatteryMonitor& battery_;

    // What the properties last announced.
    struct Shown {
        bool todayYoung = true;
        QString todayTitle;
        QString todayHeadline;
        QString todaySummary;
        QVariantList todayFigures;
        QVariantList insights;
        QString projectionTitle;
        QString projectionBody;
        bool rangeYoung = true;
        QString rangeHeadline;
        QString rangeCaption;
        QVariantList rangeFigures;
        QString daysRecorded;
    };
    Shown shown_;
};

}  // namespace torvel::app
