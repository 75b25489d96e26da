#include "ui/panel_model.h"

#include <QVariantMap>
#include <algorithm>

#include "battery/battery_monitor.h"
#include "common/fmt.h"
#include "history/history_model.h"
#include "service/charge_settings_model.h"
#include "status/checkup.h"
#include "status/panel_state.h"
#include "ui/looks.h"

namespace torvel::app {

namespace {
QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariantMap reading(const char* caption, const std::string& value) {
    return {{QStringLiteral("caption"), QString::fromUtf8(caption)}, {QStringLiteral("value"), qs(value)}};
}
}  // namespace

PanelModel::PanelModel(BatteryMonitor& battery, ChargeSettings& settings, HistoryModel& history,
                       SystemLock lock, Sources sources, QObject* parent)
    : QObject(parent),
      battery_(battery),
      settings_(settings),
      history_(history),
      lock_(lock),
      sources_(std::move(sources)),
      sparkline_(ChartPlot::Frame{.slotCount = torvel::HistoryModel::sparklineBuckets,
                                  .lowest = lowestLimit,
                                  .limit = {},
                                  .thermalLimit = {},
                                  .temperature = false,
                                  .ticks = false}) {
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &PanelModel::recompute);
    connect(&settings_, &ChargeSettings::changed, this, &PanelModel::recompute);
    connect(&history_, &HistoryModel::todayChanged, this, &PanelModel::recompute);
    recompute();
}

int PanelModel::charge() const {
    return static_cast<int>(std::clamp<qint64>(battery_.percentage(), 0, 100));
}
bool PanelModel::chargeKnown() const {
    return battery_.percentageKnown();
}
int PanelModel::limit() const {
    return settings_.limit();
}
int PanelModel::heldLimit() const {
    return settings_.heldLimit();
}
bool PanelModel::charging() const {
    return battery_.isCharging();
}
bool PanelModel::topUp() const {
    return settings_.topUp();
}
bool PanelModel::topUpEnabled() const {
    return settings_.canReachService();
}

QString PanelModel::toneWord() const {
    if (tone_ == u"todo") return QStringLiteral("To do");
    QString word = tone_;
    if (!word.isEmpty()) word[0] = word[0].toUpper();
    return word;
}

void PanelModel::recompute() {
    const ChargeSettingsState& value = settings_.value();
    const ServiceState serviceState = settings_.serviceState();
    const PanelState state =
        PanelState::make(value, serviceState, lock_, battery_.isPluggedIn(), battery_.percentage());
    line_ = QString::fromStdString(state.text);
    help_ = state.help ? QString::fromStdString(*state.help) : QString();
    tone_ = qs(name(state.tone));
    toneLook_ = Looks::of(state.tone);

    const Checkup checkup(value, serviceState, lock_, sources_.loginItem(), sources_.updater());
    const Checkup::Level level = checkup.level();
    checkupLevel_ = qs(name(level));
    levelLook_ = Looks::of(level);
    // A healthy footer reads quietly; only something to do or broken takes a colour.
    footerLook_ = level == Checkup::Level::ok ? Looks::Quiet : Looks::of(level);
    const auto fix = checkup.fix();
    fixTitle_ = fix ? QString::fromStdString(fix->title) : QString();
    fixAction_ = fix ? std::optional(fix->action) : std::nullopt;
    footerLine_ = level == Checkup::Level::ok || level == Checkup::Level::off
                      ? QStringLiteral("Service running")
                      : QString::fromStdString(checkup.summary());
    sparkline_.setSeries(history_.sparkline(), torvel::HistoryModel::sparklineBuckets);
    sparkline_.setLimit(settings_.limit());
    emit changed();
}

QVariantList PanelModel::readings() const {
    const BatterySnapshot& snapshot = battery_.snapshot();
    QVariantList figures;
    if (snapshot.healthPercent) figures << reading("Health", Fmt::percent(*snapshot.healthPercent));
    if (snapshot.temperatureCelsius) {
        figures << reading("Temperature", Fmt::decimal(*snapshot.temperatureCelsius) + " °C");
    }
    if (snapshot.cycleCount) figures << reading("Cycles", std::to_string(*snapshot.cycleCount));
    if (history_.hasToday()) {
        figures << reading("At 100% today", std::to_string(history_.atFullMinutesToday()) + " min");
    }
    return figures;
}

QString PanelModel::topUpHelp() const {
    if (!settings_.topUp()) return QStringLiteral("Charge to 100% once, then go back to your limit");
    return QStringLiteral("Back to %1% when you unplug").arg(settings_.limit());
}

QString PanelModel::version() {
    return QStringLiteral(TORVEL_VERSION);
}

int PanelModel::clampLimit(int limit) {
    return std::clamp(limit, lowestLimit, highestLimit);
}

void PanelModel::dragLimit(int limit) {
    settings_.setLimit(clampLimit(limit));
}

void PanelModel::commitLimit() {
    settings_.save();
}

void PanelModel::stepLimit(int delta) {
    const int next = clampLimit(settings_.limit() + delta);
    if (next == settings_.limit()) return;
    settings_.setLimit(next);
    settings_.save();
}

void PanelModel::setTopUp(bool on) {
    if (!topUpEnabled() || on == settings_.topUp()) return;
    settings_.setTopUp(on);
    settings_.save();
}

void PanelModel::openSection(const QString& section) {
    emit sectionRequested(section);
}

void PanelModel::applyFix() {
    if (!fixAction_) return;
    emit sectionRequested(*fixAction_ == Checkup::Fix::Action::openLoginItems ? QStringLiteral("settings")
                                                                              : QStringLiteral("mac"));
}

void PanelModel::quit() {
    emit quitRequested();
}

}  // namespace torvel::app
