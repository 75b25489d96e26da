#include "shell/torvel_app.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDateTime>
#include <QElapsedTimer>
#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>
#include <filesystem>
#include <functional>

#include "app/section.h"
#include "battery/battery_monitor.h"
#include "bus.h"
#include "extras/charge_arrival.h"
#include "extras/compositor.h"
#include "extras/login_item_model.h"
#include "extras/updater_model.h"
#include "history/history_model.h"
#include "history/journal_page_model.h"
#include "onboarding/onboarding_window.h"
#include "service/bus_address.h"
#include "service/bus_pump.h"
#include "service/charge_settings_model.h"
#include "service/service_installer.h"
#include "service/service_unit.h"
#include "shell/main_window.h"
#include "status/desktop_notifier.h"
#include "status/mac_page_model.h"
#include "ui/calibration_model.h"
#include "ui/desktop_preferences.h"
#include "ui/ember.h"
#include "ui/panel_model.h"
#include "ui/qml_types.h"
#include "ui/settings_page_model.h"

namespace torvel::app {

namespace {

std::optional<std::filesystem::path> existing(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::exists(path, error)) return path;
    return std::nullopt;
}

// A build tree's torvelctl, which no PATH finds; an installed copy's sits beside torvel in the PATH.
std::optional<std::string> commandLineInBuildTree() {
    const std::filesystem::path appDir = QCoreApplication::applicationDirPath().toStdString();
    std::error_code error;
    if (std::filesystem::exists(appDir / "torvelctl", error)) return std::nullopt;
    const auto built = std::filesystem::weakly_canonical(appDir / ".." / "cli" / "torvelctl", error);
    if (!error && std::filesystem::exists(built, error)) return built.string();
    return std::nullopt;
}

// The scripts and the service executable an installed copy keeps beside itself.
std::filesystem::path libexecDirectory() {
    return serviceToolsDirectory(QCoreApplication::applicationDirPath().toStdString());
}

ServiceUnit::Files serviceFiles(const Paths& paths) {
    return {
        .root = paths.root,
        .installer = existing(libexecDirectory() / "install-service"),
        .uninstaller = existing(libexecDirectory() / "uninstall-service"),
    };
}

}  // namespace

double TorvelApp::wallClock() {
    // TORVEL_NOW pins the clock, so a sample data directory written in the past shows its own today.
    static const double pinned =
        qEnvironmentVariableIsSet("TORVEL_NOW") ? qEnvironmentVariable("TORVEL_NOW").toDouble() : 0;
    if (pinned > 0) return pinned;
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

InstallationFacts TorvelApp::installationFacts() {
    std::error_code error;
    const std::filesystem::path appDir =
        std::filesystem::weakly_canonical(QCoreApplication::applicationDirPath().toStdString(), error);
    const bool installed = isInstalledCopy(appDir);
    // A copy in a build tree runs the service built beside it; an installed copy the one in its libexec.
    const std::filesystem::path daemon = libexecDirectory() / "torvel-daemon";
    const auto uninstaller = existing(libexecDirectory() / "uninstall-service");
    return {
        .ownDaemonPath = daemon.string(),
        .ownCopyInApplications = installed,
        .appVersion = TORVEL_VERSION,
        .uninstallerPath = uninstaller ? std::optional(uninstaller->string()) : std::nullopt,
    };
}

TorvelApp::TorvelApp(Options options, QObject* parent)
    : QObject(parent),
      options_(std::move(options)),
      paths_(Paths::fromProcessEnvironment()),
      lock_(SystemLock::current()) {
    // The faces come first, so no view is ever laid out in a substitute and then re-laid.
    Ember::registerTypeface();
    ember_ = std::make_unique<Ember>();
    const auto appearance = processEnvironment("TORVEL_APPEARANCE");
    ember_->setDark(options_.dark ||
                    (appearance ? *appearance == "dark" : Ember::prefersDark(QGuiApplication::palette())));
    desktop_ = new DesktopPreferences(QDBusConnection::sessionBus(), this);
    if (!options_.dark && !appearance) {
        // The desktop's own dark preference, through the settings portal, where one answers; Qt's palette
        // else.
        connect(desktop_, &DesktopPreferences::darkChanged, this, &TorvelApp::followAppearance);
        qApp->installEventFilter(this);
    }
    // Under X11 the desktop's text scaling already reaches Qt as the display's DPI (Xft.dpi), which scales
    // the whole window; scaling the text again would count it twice. Elsewhere the text scales on its own.
    if (QGuiApplication::platformName() != u"xcb") {
        connect(desktop_, &DesktopPreferences::textScaleChanged, ember_.get(),
                [this] { ember_->setTextScale(desktop_->textScale()); });
    }
    connect(desktop_, &DesktopPreferences::reducedMotionChanged, ember_.get(),
            [this] { ember_->setReducedMotion(desktop_->reducedMotion()); });

    const auto unitState = processEnvironment("TORVEL_UNIT_STATE");
    bus_ = client::Bus::system();
    busPump_ = std::make_unique<BusPump>(*bus_);
    units_ = std::make_unique<client::SystemdUnits>(*bus_, unitState);
    calls_ = std::make_unique<client::ServiceClient>(*bus_, paths_.config);
    service_ = std::make_unique<ServiceUnit>(*units_, serviceFiles(paths_), ServiceUnit::qtTimers(this),
                                             ServiceUnit::pkexec());
    settings_ = std::make_unique<ChargeSettingsModel>(ChargeSettingsModel::Dependencies{
        .paths = paths_,
        .installation = installationFacts(),
        .lock = lock_,
        .calls = *calls_,
        .service = *service_,
        .clock = &TorvelApp::wallClock,
        .after = ServiceUnit::qtTimers(this),
    });
    battery_ = std::make_unique<BatteryMonitor>(paths_.powerSupply, options_.watchDevices);
    history_ = std::make_unique<HistoryModel>(paths_.history, &TorvelApp::wallClock);

    defaults_ = std::make_unique<SettingsDefaults>();
    auto* noticeActions = new NoticeActions(QDBusConnection::sessionBus(), this);
    notifier_ = std::make_unique<DesktopNotifier>(
        *defaults_, DesktopNotifier::sessionBus(QDBusConnection::sessionBus(), noticeActions), lock_);
    connect(settings_.get(), &ChargeSettingsModel::statusRefreshed, notifier_.get(),
            &DesktopNotifier::statusRefreshed);
    connect(history_.get(), &HistoryModel::journalReady, notifier_.get(), &DesktopNotifier::historyReady);

    updater_ = std::make_unique<UpdaterModel>(UpdaterModel::buildConfig());
    loginItem_ = LoginItemModel::forThisUser();
    // The panel's checkup reads the Startup and Updates answers from their models, never from their files,
    // and follows every change of them.
    panel_ = std::make_unique<PanelModel>(
        *battery_, *settings_, *history_, lock_,
        PanelModel::Sources{.loginItem = [this] { return loginItem_->value().status; },
                            .updater = [this] { return updater_->state(); }});
    connect(loginItem_.get(), &LoginItemModel::statusChanged, panel_.get(), &PanelModel::recompute);
    for (const auto signal : {&UpdaterModel::checkingChanged, &UpdaterModel::availableChanged,
                              &UpdaterModel::criticalChanged, &UpdaterModel::automaticChanged}) {
        connect(updater_.get(), signal, panel_.get(), &PanelModel::recompute);
    }
    connect(panel_.get(), &PanelModel::sectionRequested, this, &TorvelApp::openSection);
    connect(noticeActions, &NoticeActions::sectionRequested, this, &TorvelApp::openSection);
    connect(panel_.get(), &PanelModel::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);

    settingsPage_ = std::make_unique<SettingsPageModel>(*settings_, *battery_, *loginItem_, lock_);

    installer_ = std::make_unique<ServiceInstaller>(*settings_, ServiceInstaller::Helpers::besideThisCopy());
    macPage_ = std::make_unique<MacPageModel>(
        *settings_, *installer_,
        MacPageModel::Sources{.paths = paths_,
                              .lock = lock_,
                              .loginItem = [this] { return loginItem_->value().status; },
                              .updater = [this] { return updater_->state(); },
                              .clock = &TorvelApp::wallClock});
    // The page's Startup and Updates rows read these models; their answers change the checkup.
    connect(loginItem_.get(), &LoginItemModel::statusChanged, macPage_.get(), &MacPageModel::recompute);
    for (const auto signal : {&UpdaterModel::checkingChanged, &UpdaterModel::availableChanged,
                              &UpdaterModel::criticalChanged, &UpdaterModel::automaticChanged}) {
        connect(updater_.get(), signal, macPage_.get(), &MacPageModel::recompute);
    }
    connect(macPage_.get(), &MacPageModel::checkForUpdatesRequested, updater_.get(), &UpdaterModel::checkNow);
    connect(macPage_.get(), &MacPageModel::loginItemsRequested, settingsPage_.get(),
            &SettingsPageModel::openStartupApproval);
    connect(macPage_.get(), &MacPageModel::terminalRequested, this, &TorvelApp::openTerminal);

    journalPage_ = std::make_unique<JournalPageModel>(*history_, *settings_, *battery_);
    calibration_ = std::make_unique<CalibrationModel>(*settings_);
    // Both charts draw the user's limit across them, and follow it as it is changed.
    history_->setChargeLimit(settings_->limit());
    connect(settings_.get(), &ChargeSettingsModel::limitChanged, history_.get(),
            [this] { history_->setChargeLimit(settings_->limit()); });

    windows_ = std::make_unique<TorvelWindowController>(TorvelWindowController::Models{
        .settings = *settings_,
        .history = *history_,
        .updater = updater_.get(),
        .engine = [this]() -> QQmlApplicationEngine& { return engine(); },
        .checkForUpdates = options_.watchDevices,
        .rememberGeometry = options_.watchDevices,
    });
    connect(windows_.get(), &TorvelWindowController::closeMenuBarPanel, this, &TorvelApp::closePopup);

    onboardingSteps_ = ServiceSteps::through(*installer_);
    const std::filesystem::path daemon = installer_->helpers().daemon;
    onboarding_ = std::make_unique<OnboardingWindowController>(OnboardingWindowController::Sources{
        .engine = [this]() -> QQmlApplicationEngine& { return engine(); },
        .models = {.settings = *settings_,
                   .service = *onboardingSteps_,
                   .defaults = *defaults_,
                   .loginItem = loginItem_.get(),
                   .lock = lock_,
                   .probe = OnboardingModel::probeOf(daemon),
                   .daemonSizeText = QString::fromStdString(HardwareProbe::daemonSizeText(daemon)),
                   .installCommand =
                       QString::fromStdString(OnboardingFlow::installCommand(commandLineInBuildTree())),
                   .pollInterval = std::chrono::seconds(1)},
    });
    connect(settings_.get(), &ChargeSettingsModel::serviceNeedsApprovalChanged, onboarding_.get(),
            &OnboardingWindowController::syncApproval);
    connect(settings_.get(), &ChargeSettingsModel::serviceNeedsMigrationChanged, onboarding_.get(),
            &OnboardingWindowController::syncMigration);

    // The overlay where the app can place it and draw it translucent; elsewhere (Wayland, an X11 desktop
    // without a compositor, where it would be a black box) the same words as a silent notice.
    const auto overlay =
        ChargeArrivalController::overlay([this]() -> QQmlApplicationEngine& { return engine(); }, this);
    const auto notice = ChargeArrivalController::notification(DesktopNotifier::transientSessionBus(
        QDBusConnection::sessionBus(), this, static_cast<int>(ChargeArrival::visibleSeconds * 1000)));
    const ChargeArrivalController::Presenter presenter{
        .screenAvailable =
            [overlay, notice] {
                return translucentOverlayShown() ? overlay.screenAvailable() : notice.screenAvailable();
            },
        .present =
            [overlay, notice](const std::optional<QString>& label) {
                translucentOverlayShown() ? overlay.present(label) : notice.present(label);
            },
    };
    arrival_ = std::make_unique<ChargeArrivalController>(ChargeArrivalController::Sources{
        .battery = battery_.get(),
        .settings = settings_.get(),
        .lock = lock_,
        .clock = &TorvelApp::wallClock,
        .screenAvailable = presenter.screenAvailable,
        .present = presenter.present,
    });
}

TorvelApp::~TorvelApp() {
    // Views bind to the models; they go first.
    tray_.reset();
    trayMenu_.reset();
    onboarding_.reset();
    windows_.reset();
    if (window_) delete window_.data();
    engine_.reset();
}

bool TorvelApp::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) followAppearance();
    return QObject::eventFilter(watched, event);
}

void TorvelApp::followAppearance() {
    const auto portal = desktop_->dark();
    ember_->setDark(portal.value_or(Ember::prefersDark(QGuiApplication::palette())));
}

void TorvelApp::start() {
    if (started_) return;
    started_ = true;
    arrival_->activate();
    history_->refresh(settings_->thermalLimit());
    history_->startTicking();
    settings_->refreshStatus();

    const StartUpPlan plan =
        StartUpPlan::decide(options_.switches, defaults_->boolean("onboardingSeen"), settings_->migrating());
    if (options_.useTray) setUpTray();
    if (options_.useTray && !tray_ && !defaults_->boolean("trayNoteSeen")) {
        macPage_->tellNoTray();
        connect(macPage_.get(), &MacPageModel::trayNoteRead, this,
                [this] { defaults_->setBoolean("trayNoteSeen", true); });
    }
    // Without a tray host nothing opens by itself: started at login the app works in the background, and the
    // launcher's --window or a second launch brings the main window.
    open(plan);
    onboarding_->syncApproval();
    onboarding_->syncMigration();
}

void TorvelApp::open(const StartUpPlan& plan) {
    if (plan.showPanelWindow) showPanel();
    if (plan.playArrival) {
        QTimer::singleShot(
            std::chrono::milliseconds(static_cast<int>(StartUpPlan::arrivalDelaySeconds * 1000)),
            arrival_.get(), &ChargeArrivalController::flashNow);
    }
    if (plan.showOnboarding) onboarding_->show({});
    if (plan.reviewOnboarding) onboarding_->show({.review = true});
    if (plan.mainWindowSection) windows_->show(*plan.mainWindowSection);
}

QQmlApplicationEngine& TorvelApp::engine() {
    if (!engine_) {
        QmlInstance<Ember>::set(ember_.get());
        QmlInstance<PanelModel>::set(panel_.get());
        QmlInstance<WindowRoute>::set(&windows_->route());
        QmlInstance<UpdaterModel>::set(updater_.get());
        QmlInstance<SettingsPageModel>::set(settingsPage_.get());
        QmlInstance<MacPageModel>::set(macPage_.get());
        QmlInstance<HistoryModel>::set(history_.get());
        QmlInstance<JournalPageModel>::set(journalPage_.get());
        QmlInstance<CalibrationModel>::set(calibration_.get());
        QmlInstance<ServiceInstaller>::set(installer_.get());
        QmlInstance<OnboardingWindowController>::set(onboarding_.get());
        engine_ = std::make_unique<QQmlApplicationEngine>();
        // The module's qmldir lies at qrc:/Torvel, which Qt 6.4 does not search by itself.
        engine_->addImportPath(QStringLiteral("qrc:/"));
    }
    return *engine_;
}

void TorvelApp::openSection(const QString& section) {
    windows_->show(AppSection::named(section.toStdString()).value_or(AppSection::today));
}

void TorvelApp::openTerminal(const QString& command) {
    // The line waits on the clipboard as well: not every desktop has a terminal the app can name, and the
    // one that opens may not take a command.
    QGuiApplication::clipboard()->setText(command);
    QProcess::startDetached(QStringLiteral("x-terminal-emulator"), {});
}

}  // namespace torvel::app
