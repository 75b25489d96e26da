#include "ui/settings_page_model.h"

#include <QDesktopServices>
#include <QUrl>
#include <QVariantMap>
#include <cmath>

#include "app/setting_choices.h"
#include "battery/battery_monitor.h"
#include "common/fmt.h"
#include "extras/login_item_model.h"
#include "service/charge_settings_model.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace C = SettingChoices;

namespace {
QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

QVariantList options(const std::vector<Choice>& choices) {
    QVariantList list;
    for (const Choice& c : choices) {
        list << QVariantMap{{QStringLiteral("value"), c.value},
                            {QStringLiteral("label"), qs(c.label)},
                            {QStringLiteral("recommended"), c.recommended},
                            {QStringLiteral("help"), qs(c.help)}};
    }
    return list;
}
}  // namespace

SettingsPageModel::SettingsPageModel(ChargeSettingsModel& settings, BatteryMonitor& battery,
                                     LoginItemModel& login, SystemLock lock, QObject* parent,
                                     OtherProgramFix::TurnOff turnOffUPower)
    : QObject(parent),
      settings_(settings),
      battery_(battery),
      login_(login),
      lock_(lock),
      otherFix_(settings, std::move(turnOffUPower)) {
    connect(&otherFix_, &OtherProgramFix::changed, this, &SettingsPageModel::publish);
    connect(&settings_, &ChargeSettingsModel::settingsChanged, this, &SettingsPageModel::publish);
    connect(&settings_, &ChargeSettingsModel::statusChanged, this, &SettingsPageModel::publish);
    connect(&settings_, &ChargeSettingsModel::canReachServiceChanged, this, &SettingsPageModel::publish);
    connect(&settings_, &ChargeSettingsModel::writeErrorChanged, this, &SettingsPageModel::publish);
    connect(&settings_, &ChargeSettingsModel::saveNoteChanged, this, &SettingsPageModel::publish);
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &SettingsPageModel::publish);
    connect(&login_, &LoginItemModel::statusChanged, this, &SettingsPageModel::publish);
    connect(&login_, &LoginItemModel::errorChanged, this, &SettingsPageModel::publish);
    publish();
}

void SettingsPageModel::publish() {
    using M = SettingsPageModel;
    const Settings& settings = settings_.value().settings;
    const PublishedStatus& published = settings_.value().status.published;
    const auto optional = [](const std::optional<std::string>& text) { return text ? qs(*text) : QString(); };

    const bool reachable = settings_.canReachService();
    assignAndNotify(this, shown_.canReachService, reachable, &M::canReachServiceChanged);
    const auto writeError = settings_.value().writeError;
    assignAndNotify(this, shown_.unreachableText, reachable ? QString() : qs(C::unreachableLine(writeError)),
                    &M::unreachableTextChanged);

    const int limit = settings.limit;
    assignAndNotify(this, shown_.limitOn, settings.enabled, &M::limitOnChanged);
    assignAndNotify(this, shown_.limit, limit, &M::limitChanged);
    assignAndNotify(this, shown_.hysteresis, settings.hysteresis, &M::hysteresisChanged);
    assignAndNotify(this, shown_.restLevel, C::restingLevel(limit, settings.hysteresis),
                    &M::restLevelChanged);
    assignAndNotify(this, shown_.profileHelp, qs(C::profileFor(limit).help), &M::profileHelpChanged);
    assignAndNotify(this, shown_.profileLine, qs(C::profileLine(limit)), &M::profileLineChanged);
    const int rest = C::restingLevel(limit, settings.hysteresis);
    assignAndNotify(this, shown_.limitText, qs(Fmt::percent(limit)), &M::limitTextChanged);
    assignAndNotify(this, shown_.restLine, qs(C::restLine(rest)), &M::restLineChanged);
    assignAndNotify(this, shown_.restingSpan, qs(C::restingSpan(rest, limit)), &M::restingSpanChanged);
    assignAndNotify(this, shown_.restingOptions, options(C::restingRange(limit)), &M::restingOptionsChanged);
    assignAndNotify(this, shown_.restingHelp, qs(C::restingFor(limit, settings.hysteresis).help),
                    &M::restingHelpChanged);
    assignAndNotify(this, shown_.limitFootnote, optional(C::limitFootnote(limit, settings.enabled, lock_)),
                    &M::limitFootnoteChanged);
    assignAndNotify(this, shown_.nativeNote, optional(C::nativeNote(limit, published.nativeFloor, lock_)),
                    &M::nativeNoteChanged);

    assignAndNotify(this, shown_.discharge, settings.discharge, &M::dischargeChanged);
    assignAndNotify(this, shown_.dischargeSupported, published.dischargeSupported,
                    &M::dischargeSupportedChanged);
    assignAndNotify(this, shown_.dischargeHelp, qs(C::dischargeHelp(published.dischargeSupported)),
                    &M::dischargeHelpChanged);
    assignAndNotify(this, shown_.dischargeState, qs(C::dischargeState(settings.discharge)),
                    &M::dischargeStateChanged);
    assignAndNotify(this, shown_.thermal, settings.thermal, &M::thermalChanged);
    assignAndNotify(this, shown_.thermalState, qs(C::thermalState(settings.thermal, settings.thermalLimit)),
                    &M::thermalStateChanged);
    assignAndNotify(this, shown_.thermalLimit, settings.thermalLimit, &M::thermalLimitChanged);
    assignAndNotify(this, shown_.thermalWord, qs(ThresholdChoice::word(settings.thermalLimit)),
                    &M::thermalWordChanged);
    auto celsius = battery_.snapshot().temperatureCelsius;
    if (!celsius) celsius = published.temp;
    assignAndNotify(this, shown_.heatLine, qs(C::heatLine(celsius)), &M::heatLineChanged);

    assignAndNotify(this, shown_.led, settings.led, &M::ledChanged);
    assignAndNotify(this, shown_.ledSupported, published.ledSupported, &M::ledSupportedChanged);
    assignAndNotify(this, shown_.ledHelp, qs(C::ledHelp(published.ledSupported)), &M::ledHelpChanged);
    assignAndNotify(this, shown_.ledState, qs(C::ledState(settings.led)), &M::ledStateChanged);
    assignAndNotify(this, shown_.ledControllable, reachable && !lock_.active && published.ledSupported,
                    &M::ledControllableChanged);
    assignAndNotify(this, shown_.blinkTenths,
                    static_cast<int>(std::lround(C::shownBlinkSeconds(settings.blinkSeconds) * 10)),
                    &M::blinkTenthsChanged);
    assignAndNotify(this, shown_.topUpHours, settings.topUpHours, &M::topUpHoursChanged);
    assignAndNotify(this, shown_.history, settings.history, &M::historyChanged);
    assignAndNotify(this, shown_.historyDays, settings.historyDays, &M::historyDaysChanged);

    assignAndNotify(this, shown_.startup, login_.on() ? 1 : 0, &M::startupChanged);
    assignAndNotify(this, shown_.startupNeedsApproval, login_.status() == LoginItemModel::requiresApproval,
                    &M::startupNeedsApprovalChanged);
    assignAndNotify(this, shown_.startupError, login_.error(), &M::startupErrorChanged);

    assignAndNotify(this, shown_.saveNote, settings_.saveNote(), &M::saveNoteChanged);
    const auto note = OtherProgramNote::from(published);
    assignAndNotify(this, shown_.otherProgramText, note ? qs(note->text) : QString(),
                    &M::otherProgramTextChanged);
    assignAndNotify(this, shown_.otherProgramFixTitle,
                    note && note->fixTitle ? qs(*note->fixTitle) : QString(),
                    &M::otherProgramFixTitleChanged);
    assignAndNotify(this, shown_.otherProgramFixEnabled, !otherFix_.busy(),
                    &M::otherProgramFixEnabledChanged);
    assignAndNotify(this, shown_.otherProgramError, note ? otherFix_.error() : QString(),
                    &M::otherProgramErrorChanged);
}

void SettingsPageModel::fixOtherProgram() {
    const auto note = OtherProgramNote::from(settings_.value().status.published);
    if (note && note->fixTitle) otherFix_.run(note->action);
}

QVariantMap SettingsPageModel::words() {
    return wordsMap(C::pageWords());
}
QString SettingsPageModel::lockText() const {
    return qs(C::lockBanner(lock_));
}
int SettingsPageModel::lowestLimit() const {
    return C::lowestLimit(lock_.usesNative);
}
QVariantList SettingsPageModel::profileOptions() {
    return options(C::profiles());
}
QVariantList SettingsPageModel::thermalOptions() {
    return options(C::overheating());
}
QVariantList SettingsPageModel::blinkOptions() {
    return options(C::blinkSpeeds());
}
QVariantList SettingsPageModel::topUpOptions() {
    return options(C::endOfTopUp());
}
QVariantList SettingsPageModel::historyOptions() {
    return options(C::historyKeptFor());
}
QVariantList SettingsPageModel::startupOptions() {
    return options(C::startup());
}

void SettingsPageModel::setLimitOn(bool on) {
    if (!canReachService()) return;
    settings_.change([on](Settings& s) { s.enabled = on; });
}

void SettingsPageModel::dragLimit(int value) {
    settings_.setLimit(C::limitAt(value, lock_.usesNative));
}

void SettingsPageModel::commitLimit() {
    settings_.save();
}

void SettingsPageModel::stepLimit(int steps) {
    const int next = C::limitAt(limit() + steps * C::limitStep(lock_.usesNative), lock_.usesNative);
    settings_.change([next](Settings& s) { s.limit = next; });
}

void SettingsPageModel::chooseProfile(int value) {
    const int next = C::limitAt(value, lock_.usesNative);
    settings_.change([next](Settings& s) { s.limit = next; });
}

void SettingsPageModel::setHysteresis(int points) {
    settings_.change([points](Settings& s) { s.hysteresis = points; });
}

void SettingsPageModel::setDischarge(bool on) {
    if (!canReachService() || !dischargeSupported()) return;
    settings_.change([on](Settings& s) { s.discharge = on; });
}

void SettingsPageModel::setThermal(bool on) {
    if (!canReachService()) return;
    settings_.change([on](Settings& s) { s.thermal = on; });
}

void SettingsPageModel::setThermalLimit(int celsius) {
    settings_.change([celsius](Settings& s) { s.thermalLimit = celsius; });
}

void SettingsPageModel::setLed(bool on) {
    if (!ledControllable()) return;
    settings_.change([on](Settings& s) { s.led = on; });
}

void SettingsPageModel::setBlinkTenths(int tenths) {
    const double seconds = C::shownBlinkSeconds(tenths / 10.0);
    settings_.change([seconds](Settings& s) { s.blinkSeconds = seconds; });
}

void SettingsPageModel::setTopUpHours(int hours) {
    settings_.change([hours](Settings& s) { s.topUpHours = hours; });
}

void SettingsPageModel::setHistory(bool on) {
    if (!canReachService()) return;
    settings_.change([on](Settings& s) { s.history = on; });
}

void SettingsPageModel::setHistoryDays(int days) {
    settings_.change([days](Settings& s) { s.historyDays = days; });
}

void SettingsPageModel::setStartup(int withTheComputer) {
    login_.set(withTheComputer != 0);
}

void SettingsPageModel::openStartupApproval() {
    // GNOME and KDE both read the autostart folder; opening it is the one place every desktop shares.
    if (const auto file = LoginItem::autostartFile(processEnvironment)) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file->parent_path().string())));
    }
}

}  // namespace torvel::app
