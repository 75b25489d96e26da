#include "status/mac_page_model.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QVariantMap>

#include "common/files.h"
#include "status/checkup.h"
#include "status/diagnostics.h"
#include "status/mac_page.h"
#include "status/service_words.h"
#include "ui/looks.h"
#include "ui/model_support.h"

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

MacPageModel::MacPageModel(ChargeSettingsModel& settings, ServiceInstaller& installer, Sources sources,
                           QObject* parent)
    : QObject(parent),
      settings_(settings),
      installer_(installer),
      sources_(std::move(sources)),
      otherFix_(settings, sources_.turnOffUPower) {
    connect(&otherFix_, &OtherProgramFix::changed, this, &MacPageModel::recompute);
    // The checkup reads the whole record; each of its parts has its own signal.
    for (const auto signal :
         {&ChargeSettingsModel::settingsChanged, &ChargeSettingsModel::statusChanged,
          &ChargeSettingsModel::daemonInstalledChanged, &ChargeSettingsModel::serviceNeedsApprovalChanged,
          &ChargeSettingsModel::serviceNeedsMigrationChanged, &ChargeSettingsModel::writeErrorChanged,
          &ChargeSettingsModel::serviceErrorChanged, &ChargeSettingsModel::migratingChanged,
          &ChargeSettingsModel::migrationFallbackChanged}) {
        connect(&settings_, signal, this, &MacPageModel::recompute);
    }
    connect(&installer_, &ServiceInstaller::operationChanged, this, &MacPageModel::recompute);
    connect(&installer_, &ServiceInstaller::errorChanged, this, &MacPageModel::recompute);
    connect(&installer_, &ServiceInstaller::finished, this, [this](ServiceInstaller::Operation operation) {
        lastOperation_ = operation;
        recompute();
    });
    refresh();
}

void MacPageModel::refresh() {
    const Paths& paths = sources_.paths;
    const std::string model =
        Diagnostics::machineModel(readWholeFile(paths.machineFile("/sys/class/dmi/id/product_name")),
                                  readWholeFile(paths.machineFile("/sys/class/dmi/id/product_version")));
    assignAndNotify(this, shown_.machine,
                    text(Diagnostics::machineName(
                        readWholeFile(paths.machineFile("/sys/class/dmi/id/sys_vendor")), model)),
                    &MacPageModel::machineChanged);
    assignAndNotify(this, shown_.system,
                    text(Diagnostics::systemName(readWholeFile(paths.machineFile("/etc/os-release")))),
                    &MacPageModel::systemChanged);
    history_ = HistoryStore(paths.history).summary();
    copiedFlag_ = false;
    recompute();
}

void MacPageModel::recompute() {
    using M = MacPageModel;
    const ChargeSettingsState& state = settings_.value();
    const ServiceState serviceState = settings_.serviceState();
    const LoginItem::Status login =
        sources_.loginItem ? sources_.loginItem() : LoginItem::Status::notRegistered;
    const UpdaterState updates = sources_.updater ? sources_.updater() : UpdaterState{};
    const double now = sources_.clock ? sources_.clock() : 0;

    const Checkup checkup(state, serviceState, sources_.lock, login, updates);
    MacPage::Facts facts =
        MacPage::Facts::from(state, serviceState, sources_.lock, login, updates.checking, history_, now);
    // The installer's replacement runs where the settings' own migration flag may not yet be set.
    facts.migrating = facts.migrating || installer_.operation() == ServiceInstaller::Operation::migrate;

    assignAndNotify(this, shown_.level, static_cast<Level>(checkup.level()), &M::levelChanged);
    assignAndNotify(this, shown_.headline, text(MacPage::headline(checkup)), &M::headlineChanged);
    assignAndNotify(this, shown_.subline, text(MacPage::subline(checkup, facts)), &M::sublineChanged);
    const auto fix = MacPage::serviceFix(facts);
    // The button that started an operation reads its progress word until it ends.
    QString fixTitle = !fix                            ? QString()
                       : isFix(installer_.operation()) ? installer_.progressWord()
                                                       : text(fix->title);
    assignAndNotify(this, shown_.fixTitle, std::move(fixTitle), &M::fixTitleChanged);
    const FixAction fixAction = fix ? toFixAction(fix->action) : FixAction::none;
    assignAndNotify(this, shown_.fixAction, fixAction, &M::fixActionChanged);
    // Only an update acts on a running service; the others need none or put one in place.
    const bool fixEnabled = fix && !fix->busy && !installer_.busy() &&
                            (fixAction != FixAction::updateService || settings_.canReachService());
    assignAndNotify(this, shown_.fixEnabled, fixEnabled, &M::fixEnabledChanged);
    const auto command = settings_.service().migrationCommand();
    assignAndNotify(this, shown_.migrationCommand, command ? text(*command) : QString(),
                    &M::migrationCommandChanged);
    assignAndNotify(this, shown_.terminalCommand,
                    fixAction == FixAction::openTerminal ? shown_.migrationCommand : QString(),
                    &M::terminalCommandChanged);

    // The control row's button is the other-program note's one fix, when it has one.
    otherAction_ = facts.otherProgram && facts.otherProgram->fixTitle ? facts.otherProgram->action
                                                                      : OtherProgramNote::Action::none;
    assignAndNotify(this, shown_.otherProgramError, facts.otherProgram ? otherFix_.error() : QString(),
                    &M::otherProgramErrorChanged);
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
    assignAndNotify(this, shown_.rows, std::move(rows), &M::rowsChanged);
    assignAndNotify(this, shown_.serviceExplanation,
                    text(ServiceWords::explanation(state, serviceState,
                                                   settings_.installation().uninstallerPath.has_value())),
                    &M::serviceExplanationChanged);

    const PublishedStatus& published = state.status.published;
    assignAndNotify(this, shown_.serviceRunningTime, text(MacPage::runningTime(published.startedAt, now)),
                    &M::serviceRunningTimeChanged);
    assignAndNotify(this, shown_.chargeMechanism, text(MacPage::chargeMechanism(published)),
                    &M::chargeMechanismChanged);
    assignAndNotify(this, shown_.forcedDischarge, text(MacPage::forcedDischarge(published)),
                    &M::forcedDischargeChanged);
    QVariantList batteries;
    for (const auto& line : MacPage::batteryLines(published)) {
        batteries.push_back(QVariantMap{{QStringLiteral("label"), text(line.label)},
                                        {QStringLiteral("value"), text(line.value)}});
    }
    assignAndNotify(this, shown_.batteries, std::move(batteries), &M::batteriesChanged);
    assignAndNotify(this, shown_.historyOnDisk, text(MacPage::historyOnDisk(history_)),
                    &M::historyOnDiskChanged);

    const ViewWords words = MacPage::words();
    assignAndNotify(this, shown_.copied, copiedFlag_, &M::copiedChanged);
    assignAndNotify(this, shown_.copyTitle, text(words.at(copiedFlag_ ? "copied" : "copyReport")),
                    &M::copyTitleChanged);
    assignAndNotify(this, shown_.copiedNote, copiedFlag_ ? text(words.at("copiedNote")) : QString(),
                    &M::copiedNoteChanged);
    assignAndNotify(this, shown_.canReset, settings_.canReachService() && !installer_.busy(),
                    &M::canResetChanged);
    assignAndNotify(this, shown_.canRemove, settings_.daemonInstalled() && !installer_.busy(),
                    &M::canRemoveChanged);
    assignAndNotify(this, shown_.operationWord, installer_.progressWord(), &M::operationWordChanged);
    assignAndNotify(this, shown_.operationError, installer_.error(), &M::operationErrorChanged);
    // The service's own error is already the Charge service row's explanation; the head only adds what the
    // row cannot say, such as a replacement that has to be finished in a terminal.
    const bool fixFailed = isFix(lastOperation_) && settings_.serviceError() != installer_.error();
    assignAndNotify(this, shown_.fixError, fixFailed ? installer_.error() : QString(), &M::fixErrorChanged);
    using Operation = ServiceInstaller::Operation;
    assignAndNotify(this, shown_.resetTitle,
                    installer_.operation() == Operation::resetCounter ? installer_.progressWord()
                                                                      : text(words.at("reset")),
                    &M::resetTitleChanged);
    assignAndNotify(this, shown_.resetError, errorOf(Operation::resetCounter), &M::resetErrorChanged);
    assignAndNotify(this, shown_.removeTitle,
                    installer_.operation() == Operation::removeEverything
                        ? installer_.progressWord()
                        : text(words.at("removeEverything")),
                    &M::removeTitleChanged);
    assignAndNotify(this, shown_.removeError, errorOf(Operation::removeEverything), &M::removeErrorChanged);
}

QVariantMap MacPageModel::words() {
    return wordsMap(MacPage::words());
}

QString MacPageModel::appVersion() const {
    return text(MacPage::versionLine(TORVEL_VERSION, TORVEL_VERSION));
}

QString MacPageModel::errorOf(ServiceInstaller::Operation operation) const {
    return lastOperation_ == operation ? installer_.error() : QString();
}

QString MacPageModel::privacyNote() const {
    return text(MacPage::words().at("privacyNote"));
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
    copiedFlag_ = true;
    recompute();
}

void MacPageModel::activateFix() {
    if (!fixEnabled()) return;
    switch (shown_.fixAction) {
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
