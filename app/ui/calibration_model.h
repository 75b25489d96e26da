#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include "calibration/status.h"

namespace torvel::app {

class ChargeSettingsModel;

// The calibration sweep as its page shows it: the step under way and how far it has come, the words the
// service's status gives, the past runs, and whether a sweep may start. Start and stop are the settings'
// `calibrate` switch, saved to the service like every other setting.
class CalibrationModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap words READ words CONSTANT)
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(bool running READ running NOTIFY phaseChanged)
    Q_PROPERTY(int step READ step NOTIFY phaseChanged)
    Q_PROPERTY(int stepCount READ stepCount CONSTANT)
    Q_PROPERTY(QVariantList steps READ steps NOTIFY phaseChanged)
    Q_PROPERTY(QString stepLabel READ stepLabel NOTIFY phaseChanged)
    Q_PROPERTY(QString stepReason READ stepReason NOTIFY phaseChanged)
    Q_PROPERTY(QString stepsTitle READ stepsTitle NOTIFY phaseChanged)
    Q_PROPERTY(bool progressKnown READ progressKnown NOTIFY progressChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)
    Q_PROPERTY(QString verdict READ verdict NOTIFY runsChanged)
    Q_PROPERTY(QString systemGap READ systemGap NOTIFY runsChanged)
    Q_PROPERTY(QString trend READ trend NOTIFY runsChanged)
    Q_PROPERTY(QVariantList runs READ runs NOTIFY runsChanged)
    Q_PROPERTY(QString lastFailure READ lastFailure NOTIFY lastFailureChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY availabilityChanged)
    Q_PROPERTY(QString blockedReason READ blockedReason NOTIFY availabilityChanged)
    Q_PROPERTY(bool requested READ requested NOTIFY requestedChanged)

  public:
    // The service's phases in step order; a run's steps are the five after Idle.
    enum class Phase { Idle, Fill, Drain, Refill, Soak, Restore };
    Q_ENUM(Phase)

    explicit CalibrationModel(ChargeSettingsModel& settings, QObject* parent = nullptr);

    Phase phase() const { return static_cast<Phase>(cal_.phase.step()); }
    bool running() const { return cal_.phase != CalibrationStatus::Phase::idle; }
    int step() const { return cal_.phase.step(); }
    static int stepCount() { return 5; }
    // Each step's label and reason, and whether it is "done", "current" or "ahead".
    QVariantList steps() const;
    QString stepLabel() const;
    QString stepReason() const;
    QString stepsTitle() const;
    static QVariantMap words();
    bool progressKnown() const { return progress_.has_value(); }
    double progress() const { return progress_.value_or(0); }
    // "56%" of the step under way; empty while it cannot be told.
    QString progressText() const;
    QString verdict() const;
    QString systemGap() const;
    QString trend() const;
    QVariantList runs() const;
    QString lastFailure() const;
    bool canStart() const { return !blocked_.has_value(); }
    QString blockedReason() const { return QString::fromStdString(blocked_.value_or("")); }
    // The user's switch: on from "Start" until the run ends or "Stop" is pressed.
    bool requested() const { return requested_; }

    // After the user confirmed; does nothing while a sweep cannot start.
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();

  public slots:
    void recompute();

  signals:
    void phaseChanged();
    void progressChanged();
    void runsChanged();
    void lastFailureChanged();
    void availabilityChanged();
    void requestedChanged();

  private:
    ChargeSettingsModel& settings_;
    CalibrationStatus cal_;
    std::optional<double> progress_;
    std::optional<std::string> blocked_;
    bool requested_ = false;
};

}  // namespace torvel::app
