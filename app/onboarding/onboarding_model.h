#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>

#include "battery/probe.h"
#include "battery/system_lock.h"
#include "onboarding/flow.h"
#include "status/notifier.h"

namespace torvel::app {

class ChargeSettingsModel;
class LoginItemModel;
class ServiceInstaller;

// The service's installation as the first-run flow asks for it. A running copy goes through the same
// ServiceInstaller as the "This Mac" page; `done` runs once the attempt has ended, whatever its outcome,
// after the settings model has read the registration again.
class ServiceSteps {
  public:
    virtual ~ServiceSteps() = default;
    // False when another operation is still running and nothing was started.
    virtual bool install(std::function<void()> done) = 0;
    virtual bool migrate(std::function<void()> done) = 0;

    static std::unique_ptr<ServiceSteps> through(ServiceInstaller& installer);
};

// The first-run flow in its window: probe, welcome, the service, the hand-over, the profile and the finish,
// and the shorter review, approval-only and migration-only flows. OnboardingFlow decides every transition;
// this model owns the probe's run, the poll timer and the settings it changes.
class OnboardingModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(Step step READ step NOTIFY stepChanged)
    Q_PROPERTY(QString stepName READ stepName NOTIFY stepNameChanged)
    Q_PROPERTY(bool discharge READ discharge NOTIFY dischargeChanged)
    Q_PROPERTY(bool led READ led NOTIFY ledChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY canGoBackChanged)
    Q_PROPERTY(int progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(int progressSteps READ progressSteps CONSTANT)
    Q_PROPERTY(bool review READ review CONSTANT)
    Q_PROPERTY(bool approvalOnly READ approvalOnly CONSTANT)
    Q_PROPERTY(bool migrationOnly READ migrationOnly CONSTANT)
    Q_PROPERTY(bool usesNative READ usesNative CONSTANT)
    Q_PROPERTY(bool helperReady READ helperReady NOTIFY helperReadyChanged)
    Q_PROPERTY(bool needsMigration READ needsMigration NOTIFY needsMigrationChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool polling READ polling NOTIFY pollingChanged)
    Q_PROPERTY(bool batteryOpened READ batteryOpened NOTIFY batteryOpenedChanged)
    Q_PROPERTY(int limit READ limit NOTIFY limitChanged)
    Q_PROPERTY(int restingFloor READ restingFloor NOTIFY restingFloorChanged)
    Q_PROPERTY(int chosenProfile READ chosenProfile NOTIFY chosenProfileChanged)
    Q_PROPERTY(QVariantList profiles READ profiles CONSTANT)
    Q_PROPERTY(QString daemonSizeText READ daemonSizeText CONSTANT)
    Q_PROPERTY(QString command READ command NOTIFY commandChanged)
    // The words of the screens that depend on whether the service is there, and how the rail draws each
    // stop; they change with the step and with the service.
    Q_PROPERTY(QVariantMap words READ words NOTIFY wordsChanged)

  public:
    enum class Step {
        Welcome,
        InstallFailed,
        Unsupported,
        ProbeFailed,
        Checking,
        HandOver,
        Service,
        AwaitingApproval,
        Tuning,
        Done,
    };
    Q_ENUM(Step)

    using ProbeDone = std::function<void(HardwareProbe::Result)>;
    // Runs the probe away from the main thread; `done` is called on the main thread, unless `context` is
    // gone by then.
    using Probe = std::function<void(QObject* context, ProbeDone done)>;

    struct Dependencies {
        ChargeSettingsModel& settings;
        ServiceSteps& service;
        DefaultsStore& defaults;
        LoginItemModel* loginItem = nullptr;
        SystemLock lock;
        Probe probe;
        QString daemonSizeText = QStringLiteral("—");
        // What a terminal user runs instead of the window's install.
        QString installCommand = QStringLiteral("torvelctl install");
        std::chrono::milliseconds pollInterval{1000};
    };

    // Starts in `checking` and runs the probe at once.
    OnboardingModel(Dependencies dependencies, OnboardingFlow::Mode mode, QObject* parent = nullptr);
    ~OnboardingModel() override;

    // `torvel-daemon --probe --json` of this copy, on a worker thread.
    static Probe probeOf(std::filesystem::path daemon);

    const OnboardingFlow& flow() const { return flow_; }
    // Shows one step directly: the screenshot mode draws every screen without walking the flow.
    void preview(OnboardingFlow::Step step);
    Step step() const { return step_; }
    QString stepName() const { return stepName_; }
    bool discharge() const { return discharge_; }
    bool led() const { return led_; }
    QString message() const { return message_; }
    bool canGoBack() const { return canGoBack_; }
    int progress() const { return progress_; }
    int progressSteps() const { return lock_.usesNative ? 3 : 4; }
    bool review() const { return flow_.mode().review; }
    bool approvalOnly() const { return flow_.mode().approvalOnly; }
    bool migrationOnly() const { return flow_.mode().migrationOnly; }
    bool usesNative() const { return lock_.usesNative; }
    bool helperReady() const { return helperReady_; }
    bool needsMigration() const { return needsMigration_; }
    bool busy() const { return busy_; }
    bool polling() const { return poll_ != nullptr; }
    bool live() const { return live_; }
    bool batteryOpened() const { return batteryOpened_; }
    int limit() const { return limit_; }
    int restingFloor() const { return restingFloor_; }
    int chosenProfile() const { return chosenProfile_; }
    QVariantList profiles() const;
    QString daemonSizeText() const { return daemonSizeText_; }
    QString command() const { return command_; }
    QVariantMap words() const { return words_; }

  public slots:
    void check();
    void next();
    void back();
    void install();
    void migrate();
    void apply(int profile);
    void copyCommand();
    void openBatterySettings();
    void stopPolling();

  signals:
    void stepChanged();
    void stepNameChanged();
    void dischargeChanged();
    void ledChanged();
    void messageChanged();
    void canGoBackChanged();
    void progressChanged();
    void helperReadyChanged();
    void needsMigrationChanged();
    void busyChanged();
    void pollingChanged();
    void batteryOpenedChanged();
    void limitChanged();
    void restingFloorChanged();
    void chosenProfileChanged();
    void commandChanged();
    void wordsChanged();
    // The flow reached `done` and the first run is recorded as seen; the window stays on its last screen.
    void finished();

  private:
    // Derives every property from the flow and the settings again, each announcing itself only when it
    // moved, then brings the poll in line with the step. Reaching the last screen finishes the flow, unless
    // it is a preview of it.
    void settle(bool mayFinish = true);
    void syncPolling();
    void tick();
    void setBusy(bool busy);
    void refreshWords();

    ChargeSettingsModel& settings_;
    ServiceSteps& service_;
    DefaultsStore& defaults_;
    QPointer<LoginItemModel> loginItem_;
    SystemLock lock_;
    Probe probe_;
    QString daemonSizeText_;
    QString installCommand_;
    std::chrono::milliseconds pollInterval_;

    OnboardingFlow flow_;
    std::unique_ptr<QTimer> poll_;
    // Counts the probes started: an answer to one the user has since left (or a preview replaced) is dropped.
    int probesStarted_ = 0;
    bool live_ = false;
    bool busy_ = false;
    bool batteryOpened_ = false;
    Step step_ = Step::Checking;
    QString stepName_;
    bool discharge_ = false;
    bool led_ = false;
    QString message_;
    bool canGoBack_ = false;
    int progress_ = -1;
    bool helperReady_ = false;
    bool needsMigration_ = false;
    int limit_ = 0;
    int restingFloor_ = 0;
    int chosenProfile_ = -1;
    QString command_;
    QVariantMap words_;
};

}  // namespace torvel::app
