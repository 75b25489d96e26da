#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariant>
#include <chrono>
#include <deque>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "battery/system_lock.h"
#include "common/paths.h"
#include "service/charge_settings.h"
#include "service/save_ledger.h"
#include "service/service_unit.h"

namespace torvel::app {

// The app's one model of the charge service: the user's settings, what the service last published, and the
// registration flags. It owns the polling and the order of saves; core decides everything else.
class ChargeSettingsModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled NOTIFY enabledChanged)
    Q_PROPERTY(int limit READ limit WRITE setLimit NOTIFY limitChanged)
    Q_PROPERTY(int heldLimit READ heldLimit NOTIFY heldLimitChanged)
    Q_PROPERTY(bool topUp READ topUp WRITE setTopUp NOTIFY topUpChanged)
    Q_PROPERTY(int thermalLimit READ thermalLimit NOTIFY thermalLimitChanged)
    Q_PROPERTY(bool canReachService READ canReachService NOTIFY canReachServiceChanged)
    Q_PROPERTY(QString state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString serviceState READ serviceStateName NOTIFY serviceStateChanged)
    Q_PROPERTY(QString writeError READ writeError NOTIFY writeErrorChanged)
    Q_PROPERTY(QString serviceError READ serviceError NOTIFY serviceErrorChanged)
    Q_PROPERTY(bool daemonInstalled READ daemonInstalled NOTIFY daemonInstalledChanged)
    Q_PROPERTY(bool serviceNeedsApproval READ serviceNeedsApproval NOTIFY serviceNeedsApprovalChanged)
    Q_PROPERTY(bool serviceNeedsMigration READ serviceNeedsMigration NOTIFY serviceNeedsMigrationChanged)
    Q_PROPERTY(bool migrating READ migrating NOTIFY migratingChanged)
    Q_PROPERTY(bool migrationFallback READ migrationFallback NOTIFY migrationFallbackChanged)
    Q_PROPERTY(int liveWatchers READ liveWatchers NOTIFY liveWatchersChanged)
    Q_PROPERTY(QString saveNote READ saveNote NOTIFY saveNoteChanged)

  public:
    using Clock = std::function<double()>;  // seconds since 1970

    static constexpr std::chrono::milliseconds livePollInterval{1500};
    static constexpr std::chrono::milliseconds idlePollInterval{30'000};
    // Without a live view, the registration is asked about at most this often.
    static constexpr double serviceSyncSeconds = 10;
    // Long enough for a progress indicator to show before the password prompt takes the screen.
    static constexpr std::chrono::milliseconds migrationPause{150};

    struct Dependencies {
        Paths paths;
        InstallationFacts installation;
        SystemLock lock;
        ServiceCalls& calls;
        ServiceUnit& service;
        Clock clock;
        ServiceUnit::Scheduler after;
    };

    // Loads the settings, reads the status once and starts polling.
    explicit ChargeSettingsModel(Dependencies dependencies, QObject* parent = nullptr);

    const ChargeSettingsState& value() const { return state_; }
    ServiceState serviceState() const { return state_.serviceState(installation_); }
    const InstallationFacts& installation() const { return installation_; }
    ServiceUnit& service() { return service_; }
    ServiceCalls& calls() { return calls_; }

    bool enabled() const { return shown_.enabled; }
    int limit() const { return shown_.limit; }
    int heldLimit() const { return shown_.heldLimit; }
    bool topUp() const { return shown_.topUp; }
    int thermalLimit() const { return shown_.thermalLimit; }
    bool canReachService() const { return shown_.canReachService; }
    QString state() const { return shown_.state; }
    QString serviceStateName() const { return shown_.serviceState; }
    QString writeError() const { return shown_.writeError; }
    QString serviceError() const { return shown_.serviceError; }
    bool daemonInstalled() const { return shown_.daemonInstalled; }
    bool serviceNeedsApproval() const { return shown_.serviceNeedsApproval; }
    bool serviceNeedsMigration() const { return shown_.serviceNeedsMigration; }
    bool migrating() const { return shown_.migrating; }
    bool migrationFallback() const { return shown_.migrationFallback; }
    int liveWatchers() const { return liveWatchers_; }
    // What the service said of the last save it answered (a limit held at another value, or not taken).
    QString saveNote() const { return shown_.saveNote; }
    bool settingsAwaitingService() const { return settingsAwaitingService_; }
    std::chrono::milliseconds pollInterval() const { return poll_.intervalAsDuration(); }
    // Saves handed to the service and not yet answered, the one in flight included.
    std::size_t savesPending() const { return queue_.size(); }

    void setLimit(int limit);
    void setTopUp(bool on);
    // One edit of the user's settings from a page: announced, then saved at once.
    void change(const std::function<void(Settings&)>& edit);
    void setCalibrate(bool on);
    // Sends the settings with the request to zero the protected-time counter; `done` hears the save's error
    // text, absent on success (a failure also lands in writeError, as for any save).
    void resetProtected(std::function<void(const std::optional<std::string>&)> done = {});

  public slots:
    void load();
    void refreshStatus();
    void save() { save({}); }
    void save(const SettingsExtra& extra);
    void retime();
    // A view that shows live values calls these as it appears and disappears.
    void watchLive();
    void unwatchLive();
    void syncService();
    void removeEverything(std::function<void()> done = {});
    void migrateLegacyService();

  signals:
    void enabledChanged();
    void limitChanged();
    void heldLimitChanged();
    void topUpChanged();
    void thermalLimitChanged();
    void canReachServiceChanged();
    void stateChanged();
    void serviceStateChanged();
    void writeErrorChanged();
    void serviceErrorChanged();
    void daemonInstalledChanged();
    void migratingChanged();
    void migrationFallbackChanged();
    void liveWatchersChanged();
    void saveNoteChanged();
    // The onboarding window follows these two.
    void serviceNeedsApprovalChanged();
    void serviceNeedsMigrationChanged();
    // The user's settings in value() moved.
    void settingsChanged();
    // The service's last status in value() moved, apart from the time it was written, which moves on every
    // beat and only decides freshness.
    void statusChanged();
    // After each status refresh: whether the limit is verified to work (invalid: not yet known) and whether
    // the system is locked with the service installed. The notifier listens.
    void statusRefreshed(QVariant gateVerified, bool systemLocked);

  private:
    struct QueuedSave {
        Settings settings;
        SettingsExtra extra;
        SaveLedger::Ticket ticket;
        std::function<void(const std::optional<std::string>&)> done;
    };

    static QString text(const std::optional<std::string>& value) {
        return value ? QString::fromStdString(*value) : QString();
    }
    void sendNextSave();
    void finishMigration();
    // Each property takes its value from state_ and announces itself when it moved.
    void publish();

    // What the properties last announced.
    struct Shown {
        bool enabled = false;
        int limit = 0;
        int heldLimit = 0;
        bool topUp = false;
        int thermalLimit = 0;
        bool canReachService = false;
        QString state;
        QString serviceState;
        QString writeError;
        QString serviceError;
        bool daemonInstalled = false;
        bool serviceNeedsApproval = false;
        bool serviceNeedsMigration = false;
        bool migrating = false;
        bool migrationFallback = false;
        QString saveNote;
        Settings settings;
        ServiceStatus status;  // its write time left out
    };

    Paths paths_;
    InstallationFacts installation_;
    SystemLock lock_;
    ServiceCalls& calls_;
    ServiceUnit& service_;
    Clock clock_;
    ServiceUnit::Scheduler after_;

    ChargeSettingsState state_;
    Shown shown_;
    QTimer poll_;
    int liveWatchers_ = 0;
    double lastServiceSync_ = -std::numeric_limits<double>::infinity();
    std::optional<double> calibrateAskedAt_;
    bool triedServiceRefresh_ = false;
    bool triedRepoint_ = false;
    bool settingsAwaitingService_ = false;
    std::optional<std::string> saveNote_;
    SaveLedger ledger_;
    // The front entry is the save in flight; the others wait their turn.
    std::deque<QueuedSave> queue_;
};

}  // namespace torvel::app
