#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <vector>

#include "battery/system_lock.h"
#include "common/paths.h"
#include "extras/login_item.h"
#include "extras/updater.h"
#include "history/store.h"
#include "service/charge_settings_model.h"
#include "service/service_installer.h"
#include "status/other_program_fix.h"

namespace torvel::app {

// Everything the Mac page shows and does: the checkup's head and rows as core words them, the
// troubleshooting facts, the diagnostic report to the clipboard, and the service's operations through the
// installer. The page only lays these out.
class MacPageModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantMap words READ words CONSTANT)
    Q_PROPERTY(Level level READ level NOTIFY levelChanged)
    Q_PROPERTY(QString headline READ headline NOTIFY headlineChanged)
    Q_PROPERTY(QString subline READ subline NOTIFY sublineChanged)
    Q_PROPERTY(QString fixTitle READ fixTitle NOTIFY fixTitleChanged)
    Q_PROPERTY(FixAction fixAction READ fixAction NOTIFY fixActionChanged)
    Q_PROPERTY(bool fixEnabled READ fixEnabled NOTIFY fixEnabledChanged)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY rowsChanged)
    Q_PROPERTY(QString serviceExplanation READ serviceExplanation NOTIFY serviceExplanationChanged)
    Q_PROPERTY(QString migrationCommand READ migrationCommand NOTIFY migrationCommandChanged)

    Q_PROPERTY(QString machine READ machine NOTIFY machineChanged)
    Q_PROPERTY(QString system READ system NOTIFY systemChanged)
    Q_PROPERTY(QString appVersion READ appVersion CONSTANT)
    Q_PROPERTY(QString serviceRunningTime READ serviceRunningTime NOTIFY serviceRunningTimeChanged)
    Q_PROPERTY(QString chargeMechanism READ chargeMechanism NOTIFY chargeMechanismChanged)
    Q_PROPERTY(QString forcedDischarge READ forcedDischarge NOTIFY forcedDischargeChanged)
    Q_PROPERTY(QString historyOnDisk READ historyOnDisk NOTIFY historyOnDiskChanged)
    Q_PROPERTY(QVariantList batteries READ batteries NOTIFY batteriesChanged)
    Q_PROPERTY(QString otherProgramError READ otherProgramError NOTIFY otherProgramErrorChanged)

    Q_PROPERTY(bool copied READ copied NOTIFY copiedChanged)
    Q_PROPERTY(QString copyTitle READ copyTitle NOTIFY copyTitleChanged)
    Q_PROPERTY(QString copiedNote READ copiedNote NOTIFY copiedNoteChanged)
    Q_PROPERTY(bool canReset READ canReset NOTIFY canResetChanged)
    Q_PROPERTY(bool canRemove READ canRemove NOTIFY canRemoveChanged)
    Q_PROPERTY(QString operationWord READ operationWord NOTIFY operationWordChanged)
    Q_PROPERTY(QString operationError READ operationError NOTIFY operationErrorChanged)
    Q_PROPERTY(QString fixError READ fixError NOTIFY fixErrorChanged)
    Q_PROPERTY(QString terminalCommand READ terminalCommand NOTIFY terminalCommandChanged)
    Q_PROPERTY(QString resetTitle READ resetTitle NOTIFY resetTitleChanged)
    Q_PROPERTY(QString resetError READ resetError NOTIFY resetErrorChanged)
    Q_PROPERTY(QString removeTitle READ removeTitle NOTIFY removeTitleChanged)
    Q_PROPERTY(QString removeError READ removeError NOTIFY removeErrorChanged)

    Q_PROPERTY(QString privacyNote READ privacyNote CONSTANT)
    Q_PROPERTY(QString trayNote READ trayNote NOTIFY trayNoteChanged)
    Q_PROPERTY(QString websiteUrl READ websiteUrl CONSTANT)
    Q_PROPERTY(QString privacyUrl READ privacyUrl CONSTANT)
    Q_PROPERTY(QString contactUrl READ contactUrl CONSTANT)

  public:
    enum class Level { ok, off, todo, broken };
    Q_ENUM(Level)
    enum class FixAction {
        none,
        copyReport,
        installService,
        openLoginItems,
        replaceService,
        openTerminal,
        updateService,
        reinstallService
    };
    Q_ENUM(FixAction)

    // What the page reads that has no model of its own here; the app passes the user's files and clock.
    struct Sources {
        Paths paths;
        SystemLock lock;
        std::function<LoginItem::Status()> loginItem;
        std::function<UpdaterState()> updater;
        std::function<double()> clock;  // seconds since 1970
        // What turns UPower's charge threshold off; none: UPower on the system bus.
        OtherProgramFix::TurnOff turnOffUPower = {};
    };

    MacPageModel(ChargeSettingsModel& settings, ServiceInstaller& installer, Sources sources,
                 QObject* parent = nullptr);

    static QVariantMap words();
    Level level() const { return shown_.level; }
    QString headline() const { return shown_.headline; }
    QString subline() const { return shown_.subline; }
    QString fixTitle() const { return shown_.fixTitle; }
    FixAction fixAction() const { return shown_.fixAction; }
    bool fixEnabled() const { return shown_.fixEnabled; }
    QVariantList rows() const { return shown_.rows; }
    QString serviceExplanation() const { return shown_.serviceExplanation; }
    QString migrationCommand() const { return shown_.migrationCommand; }
    QString machine() const { return shown_.machine; }
    QString system() const { return shown_.system; }
    QString appVersion() const;
    QString serviceRunningTime() const { return shown_.serviceRunningTime; }
    QString chargeMechanism() const { return shown_.chargeMechanism; }
    QString forcedDischarge() const { return shown_.forcedDischarge; }
    QString historyOnDisk() const { return shown_.historyOnDisk; }
    // One {label, value} per battery, for the troubleshooting card.
    QVariantList batteries() const { return shown_.batteries; }
    // Why the other-program fix (the control row's button) failed; empty otherwise.
    QString otherProgramError() const { return shown_.otherProgramError; }
    bool copied() const { return shown_.copied; }
    QString copyTitle() const { return shown_.copyTitle; }
    QString copiedNote() const { return shown_.copiedNote; }
    bool canReset() const { return shown_.canReset; }
    bool canRemove() const { return shown_.canRemove; }
    QString operationWord() const { return shown_.operationWord; }
    QString operationError() const { return shown_.operationError; }
    // A failure shows beside the button that started it: the head's fix, Reset, or Remove.
    QString fixError() const { return shown_.fixError; }
    // The line "Open Terminal" is for, shown under the head while that is the fix.
    QString terminalCommand() const { return shown_.terminalCommand; }
    QString resetTitle() const { return shown_.resetTitle; }
    QString resetError() const { return shown_.resetError; }
    QString removeTitle() const { return shown_.removeTitle; }
    QString removeError() const { return shown_.removeError; }
    QString privacyNote() const;
    QString trayNote() const { return trayNote_; }
    // No tray host, and the note not yet read: the page tells where the app went.
    void tellNoTray();
    // The page showed the note; it stays for the rest of the session.
    Q_INVOKABLE void trayNoteShown() { emit trayNoteRead(); }
    QString websiteUrl() const;
    QString privacyUrl() const;
    QString contactUrl() const;

    // The diagnostic report as it would be copied now.
    QString report() const;

  public slots:
    // Reads the machine's files and the journal's size again; the page calls it as it appears.
    void refresh();
    // Takes the checkup again from what is already known; the app calls it when the login item or the
    // updater change.
    void recompute();
    void activateFix();
    void copyReport();
    void resetCounter();
    // After the confirmation dialog: the service goes and its data with it.
    void removeEverything();
    void checkForUpdates();
    void openLoginItems();
    // The control row's button: lets Torvel hold the limit again over the program the row names.
    void fixOtherProgram();

  signals:
    void trayNoteChanged();
    void trayNoteRead();
    void levelChanged();
    void headlineChanged();
    void sublineChanged();
    void fixTitleChanged();
    void fixActionChanged();
    void fixEnabledChanged();
    void rowsChanged();
    void serviceExplanationChanged();
    void migrationCommandChanged();
    void machineChanged();
    void systemChanged();
    void serviceRunningTimeChanged();
    void chargeMechanismChanged();
    void forcedDischargeChanged();
    void historyOnDiskChanged();
    void batteriesChanged();
    void otherProgramErrorChanged();
    void copiedChanged();
    void copyTitleChanged();
    void copiedNoteChanged();
    void canResetChanged();
    void canRemoveChanged();
    void operationWordChanged();
    void operationErrorChanged();
    void fixErrorChanged();
    void terminalCommandChanged();
    void resetTitleChanged();
    void resetErrorChanged();
    void removeTitleChanged();
    void removeErrorChanged();
    // What the app does on the page's behalf: the updater's check, the system's startup settings, a
    // terminal with the line that removes the old service.
    void checkForUpdatesRequested();
    void loginItemsRequested();
    void terminalRequested(const QString& command);

  private:
    QString errorOf(ServiceInstaller::Operation operation) const;

    ChargeSettingsModel& settings_;
    ServiceInstaller& installer_;
    Sources sources_;
    OtherProgramFix otherFix_;
    QString trayNote_;
    // Read as the page appears, not on every status change.
    HistoryStore::Summary history_;
    bool copiedFlag_ = false;
    OtherProgramNote::Action otherAction_ = OtherProgramNote::Action::none;
    ServiceInstaller::Operation lastOperation_ = ServiceInstaller::Operation::none;

    // What the properties last announced.
    struct Shown {
        Level level = Level::ok;
        QString headline;
        QString subline;
        QString fixTitle;
        FixAction fixAction = FixAction::none;
        bool fixEnabled = false;
        QVariantList rows;
        QString serviceExplanation;
        QString migrationCommand;
        QString machine;
        QString system;
        QString serviceRunningTime;
        QString chargeMechanism;
        QString forcedDischarge;
        QString historyOnDisk;
        QVariantList batteries;
        QString otherProgramError;
        bool copied = false;
        QString copyTitle;
        QString copiedNote;
        bool canReset = false;
        bool canRemove = false;
        QString operationWord;
        QString operationError;
        QString fixError;
        QString terminalCommand;
        QString resetTitle;
        QString resetError;
        QString removeTitle;
        QString removeError;
    };
    Shown shown_;
};

}  // namespace torvel::app
