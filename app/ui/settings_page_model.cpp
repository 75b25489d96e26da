#include "ui/settings_page_model.h"

#include <QDesktopServices>
#include <QMetaProperty>
#include <QUrl>
#include <QVariantMap>
#include <cmath>

#include "app/setting_choices.h"
#include "battery/battery_monitor.h"
#include "extras/login_item_model.h"
#include "service/charge_settings_model.h"

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

SettingsPageModel::SettingsPageModel(ChargeSettings& settings, BatteryMonitor& battery, LoginItemModel& login,
                                     SystemLock lock, QObject* parent, OtherProgramFix::TurnOff turnOffUPower)
    : QObject(parent),
      settings_(settings),
      battery_(battery),
      login_(login),
      lock_(lock),
      otherFix_(settings, std::move(turnOffUPower)) {
    connect(&otherFix_, &OtherProgramFix::changed, this, &SettingsPageModel::announce);
    connect(&settings_, &ChargeSettings::changed, this, &SettingsPageModel::announce);
    connect(&battery_, &BatteryMonitor::snapshotChanged, this, &SettingsPageModel::announce);
    connect(&login_, &LoginItemModel::statusChanged, this, &SettingsPageModel::announce);
    connect(&login_, &LoginItemModel::errorChanged, this, &SettingsPageModel::announce);
    announce();
}

void SettingsPageModel::announce() {
    const QMetaObject& meta = staticMetaObject;
    const int first = meta.propertyOffset();
    const auto count = static_cast<std::size_t>(meta.propertyCount() - first);
    const bool initial = shown_.empty();
    shown_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const QMetaProperty property = meta.property(first + static_cast<int>(i));
        QVariant now = property.read(this);
        if (!initial && now != shown_[i] && property.hasNotifySignal())
            property.notifySignal().invoke(this, Qt::DirectConnection);
        shown_[i] = std::move(now);
    }
}

namespace {
std::optional<OtherProgramNote> otherProgram(const ChargeSettings& settings) {
    return OtherProgramNote::from(settings.value().status.published);
}
}  // namespace

QString SettingsPageModel::saveNote() const {
    return settings_.saveNote();
}
QString SettingsPageModel::otherProgramText() const {
    const auto note = otherProgram(settings_);
    return note ? qs(note->text) : QString();
}
QString SettingsPageModel::otherProgramFixTitle() const {
    const auto note = otherProgram(settings_);
    return note && note->fixTitle ? qs(*note->fixTitle) : QString();
}
bool SettingsPageModel::otherProgramFixEnabled() const {
    return !otherFix_.busy();
}
QString SettingsPageModel::otherProgramError() const {
    return otherProgram(settings_) ? otherFix_.error() : QString();
}
void SettingsPageModel::fixOtherProgram() {
    if (const auto note = otherProgram(settings_); note && note->fixTitle) otherFix_.run(note->action);
}

QString SettingsPageModel::lockText() const {
    return qs(C::lockBanner(lock_));
}
bool SettingsPageModel::canReachService() const {
    return settings_.canReachService();
}
QString SettingsPageModel::unreachableText() const {
    if (canReachService()) return {};
    if (!settings_.writeError().isEmpty()) {
        return QStringLiteral(
                   "The charge service didn’t take the last change: %1 Until it does, the settings "
                   "that need it stay as they are.")
            .arg(settings_.writeError());
    }
    return QStringLiteral(
        "The charge service isn’t installed, so the settings that need it can’t change yet. "
        "This Mac sets it up.");
}
bool SettingsPageModel::limitOn() const {
    return settings_.value().settings.enabled;
}
int SettingsPageModel::limit() const {
    return settings_.limit();
}
int SettingsPageModel::restLevel() const {
    return C::restingLevel(limit(), hysteresis());
}
int SettingsPageModel::lowestLimit() const {
    return C::lowestLimit(lock_.usesNative);
}
QVariantList SettingsPageModel::profileOptions() {
    return options(C::profiles());
}
QString SettingsPageModel::profileHelp() const {
    return qs(C::profileFor(limit()).help);
}
QString SettingsPageModel::profileLine() const {
    return qs(C::profileLine(limit()));
}
QVariantList SettingsPageModel::restingOptions() const {
    return options(C::restingRange(limit()));
}
int SettingsPageModel::hysteresis() const {
    return settings_.value().settings.hysteresis;
}
QString SettingsPageModel::restingHelp() const {
    return qs(C::restingFor(limit(), hysteresis()).help);
}
QString SettingsPageModel::limitFootnote() const {
    const auto footnote = C::limitFootnote(limit(), limitOn(), lock_);
    return footnote ? qs(*footnote) : QString();
}
QString SettingsPageModel::nativeNote() const {
    const auto note = C::nativeNote(limit(), settings_.value().status.published.nativeFloor, lock_);
    return note ? qs(*note) : QString();
}
bool SettingsPageModel::discharge() const {
    return settings_.value().settings.discharge;
}
bool SettingsPageModel::dischargeSupported() const {
    return settings_.value().status.published.dischargeSupported;
}
bool SettingsPageModel::thermal() const {
    return settings_.value().settings.thermal;
}
int SettingsPageModel::thermalLimit() const {
    return settings_.thermalLimit();
}
QVariantList SettingsPageModel::thermalOptions() {
    return options(C::overheating());
}
QString SettingsPageModel::thermalWord() const {
    return qs(ThresholdChoice::word(thermalLimit()));
}
QString SettingsPageModel::heatLine() const {
    auto celsius = battery_.snapshot().temperatureCelsius;
    if (!celsius) celsius = settings_.value().status.published.temp;
    return qs(C::heatLine(celsius));
}
bool SettingsPageModel::led() const {
    return settings_.value().settings.led;
}
bool SettingsPageModel::ledSupported() const {
    return settings_.value().status.published.ledSupported;
}
bool SettingsPageModel::ledControllable() const {
    return canReachService() && !lock_.active && ledSupported();
}
int SettingsPageModel::blinkTenths() const {
    return static_cast<int>(std::lround(C::shownBlinkSeconds(settings_.value().settings.blinkSeconds) * 10));
}
QVariantList SettingsPageModel::blinkOptions() {
    return options(C::blinkSpeeds());
}
int SettingsPageModel::topUpHours() const {
    return settings_.value().settings.topUpHours;
}
QVariantList SettingsPageModel::topUpOptions() {
    return options(C::endOfTopUp());
}
bool SettingsPageModel::history() const {
    return settings_.value().settings.history;
}
int SettingsPageModel::historyDays() const {
    return settings_.value().settings.historyDays;
}
QVariantList SettingsPageModel::historyOptions() {
    return options(C::historyKeptFor());
}
int SettingsPageModel::startup() const {
    return login_.on() ? 1 : 0;
}
QVariantList SettingsPageModel::startupOptions() {
    return options(C::startup());
}
bool SettingsPageModel::startupNeedsApproval() const {
    return login_.status() == LoginItemModel::requiresApproval;
}
QString SettingsPageModel::startupError() const {
    return login_.error();
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
