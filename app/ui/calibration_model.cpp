#include "ui/calibration_model.h"

#include <QVariantMap>
#include <cmath>

#include "common/fmt.h"
#include "service/charge_settings_model.h"
#include "status/calibration_view.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace {
QString text(const std::optional<std::string>& words) {
    return words ? QString::fromStdString(*words) : QString();
}
}  // namespace

CalibrationModel::CalibrationModel(ChargeSettingsModel& settings, QObject* parent)
    : QObject(parent), settings_(settings) {
    connect(&settings_, &ChargeSettingsModel::statusChanged, this, &CalibrationModel::recompute);
    connect(&settings_, &ChargeSettingsModel::settingsChanged, this, &CalibrationModel::recompute);
    // Whether a sweep may start also hangs on the service's reach.
    connect(&settings_, &ChargeSettingsModel::canReachServiceChanged, this, &CalibrationModel::recompute);
    recompute();
}

void CalibrationModel::recompute() {
    using M = CalibrationModel;
    const ChargeSettingsState& state = settings_.value();
    const CalibrationStatus& cal = state.status.published.cal;
    // The step's words follow the phase and the drain target; the runs and the failure have their own
    // signals.
    const bool phaseMoved = cal_.phase != cal.phase || cal_.drainTarget != cal.drainTarget;
    const bool runsMoved = cal_.runs != cal.runs;
    const bool failureMoved = cal_.lastFailure != cal.lastFailure;
    cal_ = cal;
    if (phaseMoved) emit phaseChanged();
    if (runsMoved) emit runsChanged();
    if (failureMoved) emit lastFailureChanged();
    assignAndNotify(this, progress_, CalibrationView::progress(cal, state.status.published.pct),
                    &M::progressChanged);
    assignAndNotify(this, blocked_, CalibrationView::blocked(state), &M::availabilityChanged);
    assignAndNotify(this, requested_, state.settings.calibrate, &M::requestedChanged);
}

QVariantList CalibrationModel::steps() const {
    QVariantList list;
    for (int step = 1; step <= stepCount(); ++step) {
        const CalibrationStatus::Phase phase(static_cast<CalibrationStatus::Phase::Value>(step));
        const int current = cal_.phase.step();
        const char* where = current == 0 || step > current ? "ahead" : step == current ? "current" : "done";
        list << QVariantMap{{QStringLiteral("label"), QString::fromStdString(phase.label(cal_.drainTarget))},
                            {QStringLiteral("reason"), text(phase.reason())},
                            {QStringLiteral("state"), QString::fromUtf8(where)}};
    }
    return list;
}

QString CalibrationModel::progressText() const {
    if (!progress_) return {};
    return QString::fromStdString(Fmt::percent(std::llround(*progress_ * 100)));
}

QString CalibrationModel::stepLabel() const {
    return QString::fromStdString(cal_.phase.label(cal_.drainTarget));
}

QString CalibrationModel::stepReason() const {
    return text(cal_.phase.reason());
}

QString CalibrationModel::stepsTitle() const {
    return QString::fromStdString(CalibrationView::stepsTitle(step(), stepCount(), running()));
}

QVariantMap CalibrationModel::words() {
    return wordsMap(CalibrationView::words());
}

QString CalibrationModel::verdict() const {
    return text(cal_.verdict());
}

QString CalibrationModel::systemGap() const {
    return text(cal_.macOSGap());
}

QString CalibrationModel::trend() const {
    return text(cal_.trend());
}

QString CalibrationModel::lastFailure() const {
    return cal_.lastFailure ? QString::fromStdString(cal_.lastFailure->text()) : QString();
}

QVariantList CalibrationModel::runs() const {
    QVariantList list;
    // Newest first, as a list of past events reads.
    for (auto run = cal_.runs.rbegin(); run != cal_.runs.rend(); ++run) {
        const auto line = CalibrationView::line(*run);
        list << QVariantMap{{QStringLiteral("date"), QString::fromStdString(line.date)},
                            {QStringLiteral("capacity"), text(line.capacity)},
                            {QStringLiteral("share"), text(line.share)},
                            {QStringLiteral("measured"), QString::fromStdString(line.measured)}};
    }
    return list;
}

void CalibrationModel::start() {
    if (!canStart()) return;
    settings_.setCalibrate(true);
    settings_.save();
}

void CalibrationModel::stop() {
    settings_.setCalibrate(false);
    settings_.save();
}

}  // namespace torvel::app
