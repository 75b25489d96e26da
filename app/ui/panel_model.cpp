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
#include "ui/model_support.h"

namespace torvel::app {

namespace {
QString qs(const std::string& text) {
    return QString::fromStdString(text);
}
}  // namespace

PanelModel::PanelModel(BatteryMonitor& battery, ChargeSettingsModel& settings, HistoryModel& history,
                       SystemLock lock, Sources sources, QObject* parent)
    : QObject(parent),
      battery_(battery),
      settings_(settings),
      history_(history),
      lock_(lock),
      sources_(std::move(sources)),
      sparkline_(ChartPlot::Frame{.slotCount = torvel::HistoryPlan::sparklineBuckets,
                                  .lowest = lowestLimit,
                                  .limit = {},
                                  .thermalLimit = {},
                                  .temperature = false,
                                  .ticks = false}) {
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &PanelModel::recompute);
    connect(&history_, &HistoryModel::todayChanged, this, &PanelModel::recompute);
    for (const auto signal :
         {&ChargeSettingsModel::statusChanged, &ChargeSettingsModel::settingsChanged,
          &ChargeSettingsModel::enabledChanged, &ChargeSettingsModel::limitChanged,
          &ChargeSettingsModel::heldLimitChanged, &ChargeSettingsModel::topUpChanged,
          &ChargeSettingsModel::canReachServiceChanged, &ChargeSettingsModel::stateChanged,
          &ChargeSettingsModel::serviceStateChanged, &ChargeSettingsModel::writeErrorChanged,
          &ChargeSettingsModel::serviceErrorChanged, &ChargeSettingsModel::daemonInstalledChanged,
          &ChargeSettingsModel::serviceNeedsApprovalChanged,
          &ChargeSettingsModel::serviceNeedsMigrationChanged})
        connect(&settings_, signal, this, &PanelModel::recompute);
    recompute();
}

void PanelModel::recompute() {
    const ChargeSettingsState& value = settings_.value();
    const ServiceState serviceState = settings_.serviceState();
    assignAndNotify(this, charge_, static_cast<int>(std::clamp<qint64>(battery_.percentage(), 0, 100)),
                    &PanelModel::chargeChanged);
    assignAndNotify(this, chargeKnown_, battery_.percentageKnown(), &PanelModel::chargeKnownChanged);
    assignAndNotify(this, charging_, battery_.isCharging(), &PanelModel::chargingChanged);
    assignAndNotify(this, limit_, settings_.limit(), &PanelModel::limitChanged);
    assignAndNotify(this, limitText_, qs(Fmt::percent(limit_)), &PanelModel::limitTextChanged);
    assignAndNotify(this, heldLimit_, settings_.heldLimit(), &PanelModel::heldLimitChanged);
    assignAndNotify(this, topUp_, settings_.topUp(), &PanelModel::topUpChanged);
    assignAndNotify(this, topUpEnabled_, settings_.canReachService(), &PanelModel::topUpEnabledChanged);
    assignAndNotify(this, topUpHelp_, qs(torvel::topUpHelp(topUp_, limit_)), &PanelModel::topUpHelpChanged);

    const PanelState state =
        PanelState::make(value, serviceState, lock_, battery_.isPluggedIn(), battery_.percentage());
    assignAndNotify(this, line_, qs(state.text), &PanelModel::lineChanged);
    assignAndNotify(this, help_, state.help ? qs(*state.help) : QString(), &PanelModel::helpChanged);
    assignAndNotify(this, toneWord_, qs(torvel::toneWord(state.tone)), &PanelModel::toneWordChanged);
    assignAndNotify(this, toneLook_, static_cast<int>(Looks::of(state.tone)), &PanelModel::toneLookChanged);

    const Checkup checkup(value, serviceState, lock_, sources_.loginItem(), sources_.updater());
    const Checkup::Level level = checkup.level();
    assignAndNotify(this, levelLook_, static_cast<int>(Looks::of(level)), &PanelModel::levelLookChanged);
    // A healthy footer reads quietly; only something to do or broken takes a colour.
    assignAndNotify(this, footerLook_,
                    static_cast<int>(level == Checkup::Level::ok ? Looks::Quiet : Looks::of(level)),
                    &PanelModel::footerLookChanged);
    assignAndNotify(this, footerLine_, qs(torvel::footerLine(checkup)), &PanelModel::footerLineChanged);
    const auto fix = checkup.fix();
    fixAction_ = fix ? std::optional(fix->action) : std::nullopt;
    assignAndNotify(this, fixTitle_, fix ? qs(fix->title) : QString(), &PanelModel::fixTitleChanged);

    QVariantList figures;
    const auto atFull =
        history_.hasToday() ? std::optional<long long>(history_.atFullMinutesToday()) : std::nullopt;
    for (const PanelReading& reading : panelReadings(battery_.snapshot(), atFull)) {
        figures << QVariantMap{{QStringLiteral("caption"), qs(reading.caption)},
                               {QStringLiteral("value"), qs(reading.value)}};
    }
    assignAndNotify(this, readings_, figures, &PanelModel::readingsChanged);

    sparkline_.setSeries(history_.sparkline(), torvel::HistoryPlan::sparklineBuckets);
    sparkline_.setLimit(limit_);
    assignAndNotify(this, hasSparkline_, sparkline_.series().buckets.size() >= 2,
                    &PanelModel::hasSparklineChanged);
}

QString PanelModel::versionLine() {
    return qs(torvel::versionLine(TORVEL_VERSION));
}

QVariantMap PanelModel::words() {
    return wordsMap(panelWords(lowestLimit, highestLimit));
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
