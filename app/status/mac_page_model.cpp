#include "status/mac_page_model.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMetaProperty>
#include <QVariantMap>

#include "common/files.h"
#include "status/checkup.h"
#include "status/diagnostics.h"
#include "status/mac_page.h"
#include "status/service_words.h"
#include "ui/looks.h"

#ifndef TORVEL_WEBSITE
#error "the build names the project's web site, privacy page and contact address"
#endif

namespace torvel::app {

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

MacPageModel::FixAction toFixAction(MacPage::Fix::Action action) {
    using Action = MacPage::Fix::Action;
    switch (action) {
        case Action::copyReport:
            return MacPageModel::FixAction::copyReport;
        case Action::installService:
            return MacPageModel::FixAction::installService;
        case Action::openLoginItems:
            return MacPageModel::FixAction::openLoginItems;
        case Action::replaceService:
            return MacPageModel::FixAction::replaceService;
        case Action::openTerminal:
            return MacPageModel::FixAction::openTerminal;
        case Action::updateService:
            return MacPageModel::FixAction::updateService;
        case Action::reinstallService:
            return MacPageModel::FixAction::reinstallService;
    }
    return MacPageModel::FixAction::none;
}

bool isFix(ServiceInstaller::Operation operation) {
    using Operation = ServiceInstaller::Operation;
    return operation == Operation::install || operation == Operation::migrate ||
           operation == Operation::update || operation == Operation::reinstall;
}

}  // namespace

MacPageModel::MacPageModel(ChargeSettings& settings, ServiceInstaller& installer, Sources sources,
                           QObject* parent)
    : QObject(parent),
      settings_(settings),
      installer_(installer),
      sources_(std::move(sources)),
      otherFix_(settings, sources_.turnOffUPower) {
    connect(&otherFix_, &OtherProgramFix::changed, this, &MacPageModel::recompute);
    connect(&settings_, &ChargeSettings::changed, this, &MacPageModel::recompute);
    connect(&installer_, &ServiceInstaller::operationChanged, this, &MacPageModel::recompute);
    connect(&installer_, &ServiceInstaller::errorChanged, this, &MacPageModel::recompute);
    connect(&installer_, &ServiceInstaller::finished, this, [this](ServiceInstaller::Operation operation) {
        const auto before = propertyValues();
        lastOperation_ = operation;
        announce(before);
    });
    refresh();
}

std::vector<QVariant> MacPageModel::propertyValues() const {
    const QMetaObject& meta = staticMetaObject;
    std::vector<QVariant> values;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
        values.push_back(meta.property(i).read(this));
    return values;
}

void MacPageModel::announce(const std::vector<QVariant>& before) {
    const QMetaObject& meta = staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (property.hasNotifySignal() &&
            property.read(this) != before[static_cast<std::size_t>(i - meta.propertyOffset())]) {
            property.notifySignal().invoke(this, Qt::DirectConnection);
        }
    }
}

void MacPageModel::refresh() {
    const auto before = propertyValues();
    const Paths& paths = sources_.paths;
    const std::string model =
        Diagnostics::machineModel(readWholeFile(paths.machineFile("/sys/class/dmi/id/product_name")),
                                  readWholeFile(paths.machineFile("/sys/class/dmi/id/product_version")));
    machine_ = text(
        Diagnostics::machineName(readWholeFile(paths.machineFile("/sys/class/dmi/id/sys_vendor")), model));
    system_ = text(Diagnostics::systemName(readWholeFile(paths.machineFile("/etc/os-release"))));
    if (copied_) copied_ = false;
    announce(before);
    recompute();
}

void MacPageModel::recompute() {
    const auto before = propertyValues();
    const ChargeSettingsState& state = settings_.value();
    const ServiceState serviceState = settings_.serviceState();
    const LoginItem::Status login =
        sources_.loginItem ? sources_.loginItem() : LoginItem::Status::notRegistered;
    const UpdaterState updates = sources_.updater ? sources_.updater() : UpdaterState{};
    const HistoryStore::Summary history = HistoryStore(sources_.paths.history).summary();
    const double now = sources_.clock ? sources_.clock() : 0;

    const Checkup checkup(state, serviceState, sources_.lock, login, updates);
    MacPage::Facts facts =
        MacPage::Facts::from(state, serviceState, sources_.lock, login, updates.checking, history, now);
    // The installer's replacement runs where the settings' own migration flag may not yet be set.
    facts.migrating = facts.migrating || installer_.operation() == ServiceInstaller::Operation::migrate;

    level_ = static_cast<Level>(checkup.level());
    headline_ = text(MacPage::headline(checkup));
    subline_ = text(MacPage::subline(checkup, facts));
    const auto fix = MacPage::serviceFix(facts);
    fixTitle_ = fix ? text(fix->title) : QString();
    // The button that started an operation reads its progress word until it ends.
    if (fix && isFix(installer_.operation())) fixTitle_ = installer_.progressWord();
    fixAction_ = fix ? toFixAction(fix->action) : FixAction::none;
    fixBusy_ = fix && fix->busy;

    // The control row's button is the other-program note's one fix, when it has one.
    otherAction_ = facts.otherProgram && facts.otherProgram->fixTitle ? facts.otherProgram->action
                                                                      : OtherProgramNote::Action::none;
    otherProgramError_ = facts.otherProgram ? otherFix_.error() : QString();
    QVariantList rows;
    for (auto& row : MacPage::rows(checkup, facts)) {
        if (row.piece == Checkup::Piece::control && otherAction_ != OtherProgramNote::Action::none)
            row.button = facts.otherProgram->fixTitle;
        rows.push_back(QVariantMap{
            {QStringLiteral("piece"), text(std::string(name(row.piece)))},
            {QStringLiteral("level"), QVariant::fromValue(static_cast<Level>(row.level))},
            {QStringLiteral("tone"), static_cast<int>(Looks::of(row.level))},
            {QStringLiteral("title"), text(row.title)},
            {QStringLiteral("word"), text(row.word)},
            {QStringLiteral("explanation"), text(row.explanation)},
            {QStringLiteral("button"), row.button ? text(*row.button) : QString()},
            {QStringLiteral("buttonEnabled"), row.piece != Checkup::Piece::control || !otherFix_.busy()},
        });
    }
    rows_ = rows;
    serviceExplanation_ = text(
        ServiceWords::explanation(state, serviceState, settings_.installation().uninstallerPath.has_value()));

    const PublishedStatus& published = state.status.published;
    runningTime_ = text(MacPage::runningTime(published.startedAt, now));
    chargeMechanism_ = text(MacPage::chargeMechanism(published));
    forcedDischarge_ = text(MacPage::forcedDischarge(published));
    QVariantList batteries;
    for (const auto& line : MacPage::batteryLines(published)) {
        batteries.push_back(QVariantMap{{QStringLiteral("label"), text(line.label)},
                                        {QStringLiteral("value"), text(line.value)}});
    }
    batteries_ = batteries;
    const auto amount = MacPage::historyAmount(history);
    historyOnDisk_ = amount ? text(Diagnostics::byteCount(history.bytes)) : QStringLiteral("Nothing yet");
    announce(before);
}

bool MacPageModel::fixEnabled() const {
    if (fixAction_ == FixAction::none || fixBusy_ || installer_.busy()) return false;
    // Only these act on a running service; the others need none or put one in place.
    const bool needsService = fixAction_ == FixAction::updateService;
    return !needsService || settings_.canReachService();
}

QString MacPageModel::migrationCommand() const {
    const auto command = settings_.service().migrationCommand();
    return command ? text(*command) : QString();
}

QString MacPageModel::appVersion() const {
    return QStringLiteral("Version %1 (%2)")
        .arg(QStringLiteral(TORVEL_VERSION), QStringLiteral(TORVEL_VERSION));
}

QString MacPageModel::copyTitle() const {
    return copied_ ? QStringLiteral("Copied") : QStringLiteral("Copy the diagnostic report");
}

QString MacPageModel::copiedNote() const {
    return copied_ ? QStringLiteral("Copied to the clipboard.") : QString();
}

bool MacPageModel::canReset() const {
    return settings_.canReachService() && !installer_.busy();
}

bool MacPageModel::canRemove() const {
    return settings_.daemonInstalled() && !installer_.busy();
}

QString MacPageModel::errorOf(ServiceInstaller::Operation operation) const {
    return lastOperation_ == operation ? installer_.error() : QString();
}

QString MacPageModel::fixError() const {
    if (!isFix(lastOperation_)) return {};
    // The service's own error is already the Charge service row's explanation; the head only adds what
    // the row cannot say, such as a replacement that has to be finished in a terminal.
    if (settings_.serviceError() == installer_.error()) return {};
    return installer_.error();
}

QString MacPageModel::terminalCommand() const {
    return fixAction_ == FixAction::openTerminal ? migrationCommand() : QString();
}

QString MacPageModel::resetTitle() const {
    return installer_.operation() == ServiceInstaller::Operation::resetCounter ? installer_.progressWord()
                                                                               : QStringLiteral("Reset");
}

QString MacPageModel::resetError() const {
    return errorOf(ServiceInstaller::Operation::resetCounter);
}

QString MacPageModel::removeTitle() const {
    return installer_.operation() == ServiceInstaller::Operation::removeEverything
               ? installer_.progressWord()
               : QStringLiteral("Remove and erase data");
}

QString MacPageModel::removeError() const {
    return errorOf(ServiceInstaller::Operation::removeEverything);
}

QString MacPageModel::privacyNote() const {
    return QStringLiteral("Torvel sends nothing: no analytics, no device ID.");
}

void MacPageModel::tellNoTray() {
    trayNote_ = QString::fromStdString(MacPage::trayNote(false).value_or(std::string()));
    emit trayNoteChanged();
}

QString MacPageModel::websiteUrl() const {
    return QStringLiteral(TORVEL_WEBSITE);
}

QString MacPageModel::privacyUrl() const {
    return QStringLiteral(TORVEL_PRIVACY_URL);
}

QString MacPageModel::contactUrl() const {
    return QStringLiteral("mailto:" TORVEL_CONTACT);
}

QString MacPageModel::report() const {
    const DiagnosticFacts facts = Diagnostics::gather(sources_.paths, TORVEL_VERSION, TORVEL_VERSION);
    return text(Diagnostics::report(settings_.value(), facts));
}

void MacPageModel::copyReport() {
    QGuiApplication::clipboard()->setText(report());
    const auto before = propertyValues();
    copied_ = true;
    announce(before);
}

void MacPageModel::activateFix() {
    if (!fixEnabled()) return;
    switch (fixAction_) {
        case FixAction::none:
            return;
        case FixAction::copyReport:
            return copyReport();
        case FixAction::installService:
            return installer_.install();
        case FixAction::openLoginItems:
            return openLoginItems();
        case FixAction::replaceService:
            return installer_.migrate();
        case FixAction::openTerminal:
            emit terminalRequested(migrationCommand());
            return;
        case FixAction::updateService:
            return installer_.update();
        case FixAction::reinstallService:
            return installer_.reinstall();
    }
}

void MacPageModel::fixOtherProgram() {
    otherFix_.run(otherAction_);
}

void MacPageModel::resetCounter() {
    if (canReset()) installer_.resetCounter();
}

void MacPageModel::removeEverything() {
    if (!installer_.busy()) installer_.removeEverything();
}

void MacPageModel::checkForUpdates() {
    emit checkForUpdatesRequested();
}

void MacPageModel::openLoginItems() {
    emit loginItemsRequested();
}

}  // namespace torvel::app
