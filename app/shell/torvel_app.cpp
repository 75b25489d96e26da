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
#include "extras/login_item_model.h"
#include "extras/updater_model.h"
#include "history/history_model.h"
#include "history/journal_page_model.h"
#include "onboarding/onboarding_window.h"
#include "service/bus_address.h"
#include "service/bus_pump.h"
#include "service/charge_service.h"
#include "service/charge_settings_model.h"
#include "service/service_installer.h"
#include "shell/main_window.h"
#include "status/desktop_notifier.h"
#include "status/mac_page_model.h"
#include "ui/calibration_model.h"
#include "ui/chart_item.h"
#include "ui/ember.h"
#include "ui/looks.h"
#include "ui/panel_model.h"
#include "ui/settings_page_model.h"

namespace torvel::app {

namespace {

// zlib's fastest levels: at twice the window's size the default level spends longer compressing the picture
// than the app spends drawing it, for files only a little smaller.
constexpr int screenshotQuality = 80;

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

ChargeService::Files serviceFiles(const Paths& paths) {
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
    if (!options_.dark && !appearance) qApp->installEventFilter(this);

    const auto unitState = processEnvironment("TORVEL_UNIT_STATE");
    bus_ = client::Bus::system();
    busPump_ = std::make_unique<BusPump>(*bus_);
    units_ = std::make_unique<client::SystemdUnits>(*bus_, unitState);
    calls_ = std::make_unique<client::ServiceClient>(*bus_, paths_.config);
    service_ = std::make_unique<ChargeService>(*units_, serviceFiles(paths_), ChargeService::qtTimers(this),
                                               ChargeService::pkexec());
    settings_ = std::make_unique<ChargeSettings>(ChargeSettings::Dependencies{
        .paths = paths_,
        .installation = installationFacts(),
        .lock = lock_,
        .calls = *calls_,
        .service = *service_,
        .clock = &TorvelApp::wallClock,
        .after = ChargeService::qtTimers(this),
    });
    battery_ = std::make_unique<BatteryMonitor>(paths_.powerSupply, options_.watchDevices);
    history_ = std::make_unique<HistoryModel>(paths_.history, &TorvelApp::wallClock);

    defaults_ = std::make_unique<SettingsDefaults>();
    notifier_ = std::make_unique<DesktopNotifier>(
        *defaults_, DesktopNotifier::sessionBus(QDBusConnection::sessionBus(), this), lock_);
    connect(settings_.get(), &ChargeSettings::statusRefreshed, notifier_.get(),
            &DesktopNotifier::statusRefreshed);
    connect(history_.get(), &HistoryModel::journalReady, notifier_.get(), &DesktopNotifier::historyReady);

    panel_ = std::make_unique<PanelModel>(*battery_, *settings_, *history_, lock_, PanelModel::userFiles());
    connect(panel_.get(), &PanelModel::sectionRequested, this, &TorvelApp::openSection);
    connect(panel_.get(), &PanelModel::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);

    updater_ = std::make_unique<Updater>(Updater::buildConfig());
    loginItem_ = LoginItemModel::forThisUser();
    // The checkup's Startup row reads the entry; it follows every change made from the page.
    connect(loginItem_.get(), &LoginItemModel::statusChanged, panel_.get(), &PanelModel::recompute);
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
    for (const auto signal : {&Updater::checkingChanged, &Updater::availableChanged,
                              &Updater::criticalChanged, &Updater::automaticChanged}) {
        connect(updater_.get(), signal, macPage_.get(), &MacPageModel::recompute);
    }
    connect(macPage_.get(), &MacPageModel::checkForUpdatesRequested, updater_.get(), &Updater::checkNow);
    connect(macPage_.get(), &MacPageModel::loginItemsRequested, settingsPage_.get(),
            &SettingsPageModel::openStartupApproval);
    connect(macPage_.get(), &MacPageModel::terminalRequested, this, &TorvelApp::openTerminal);

    journalPage_ = std::make_unique<JournalPageModel>(*history_, *settings_, *battery_);
    calibration_ = std::make_unique<CalibrationModel>(*settings_);
    // Both charts draw the user's limit across them, and follow it as it is changed.
    history_->setChargeLimit(settings_->limit());
    connect(settings_.get(), &ChargeSettings::limitChanged, history_.get(),
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
    connect(settings_.get(), &ChargeSettings::serviceNeedsApprovalChanged, onboarding_.get(),
            &OnboardingWindowController::syncApproval);
    connect(settings_.get(), &ChargeSettings::serviceNeedsMigrationChanged, onboarding_.get(),
            &OnboardingWindowController::syncMigration);

    const auto presenter =
        ChargeArrivalController::placesOwnWindows()
            ? ChargeArrivalController::overlay([this]() -> QQmlApplicationEngine& { return engine(); }, this)
            : ChargeArrivalController::notification(DesktopNotifier::transientSessionBus(
                  QDBusConnection::sessionBus(), this,
                  static_cast<int>(ChargeArrival::visibleSeconds * 1000)));
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
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        ember_->setDark(Ember::prefersDark(QGuiApplication::palette()));
    }
    return QObject::eventFilter(watched, event);
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
    // Without a tray host the panel would be unreachable, so it opens as a window.
    if (plan.showPanelWindow || (options_.useTray && !tray_)) showPanel();
    if (plan.playArrival) {
        QTimer::singleShot(
            std::chrono::milliseconds(static_cast<int>(StartUpPlan::arrivalDelaySeconds * 1000)),
            arrival_.get(), &ChargeArrivalController::flashNow);
    }
    if (plan.showOnboarding) onboarding_->show({});
    if (plan.reviewOnboarding) onboarding_->show({.review = true});
    if (plan.mainWindowSection) windows_->show(*plan.mainWindowSection);
    onboarding_->syncApproval();
    onboarding_->syncMigration();
}

QQmlApplicationEngine& TorvelApp::engine() {
    if (!engine_) {
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Ember", ember_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Panel", panel_.get());
        ChartItem::registerType();
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Route", &windows_->route());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Updater", updater_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "SettingsPage", settingsPage_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "MacPage", macPage_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "History", history_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "JournalPage", journalPage_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Calibration", calibration_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "ServiceInstaller", installer_.get());
        qmlRegisterSingletonInstance("Torvel", 1, 0, "Onboarding", onboarding_.get());
        qmlRegisterUncreatableType<OnboardingModel>(
            "Torvel", 1, 0, "OnboardingModel", QStringLiteral("The onboarding window is given its model"));
        qmlRegisterUncreatableMetaObject(Looks::staticMetaObject, "Torvel", 1, 0, "Looks",
                                         QStringLiteral("Looks only names tones and kinds"));
        engine_ = std::make_unique<QQmlApplicationEngine>();
    }
    return *engine_;
}

QQuickWindow* TorvelApp::panelWindow() {
    if (window_) return window_;
    engine();
    engine_->load(QUrl(QStringLiteral("qrc:/Torvel/Main.qml")));
    const auto roots = engine_->rootObjects();
    if (roots.isEmpty()) return nullptr;
    window_ = qobject_cast<QQuickWindow*>(roots.constLast());
    if (window_) {
        // An open panel watches live: the service's state is polled quickly only while someone looks.
        connect(window_, &QWindow::visibleChanged, this, [this](bool visible) {
            if (visible)
                settings_->watchLive();
            else
                settings_->unwatchLive();
        });
    }
    return window_;
}

QQuickWindow* TorvelApp::showPanel(std::optional<QRect> popupNear) {
    QQuickWindow* window = panelWindow();
    if (!window) return nullptr;
    window->setProperty("popup", popupNear.has_value());
    if (popupNear) {
        // Under the icon when the tray sits at the top of the screen, above it otherwise.
        const QScreen* screen = QGuiApplication::screenAt(popupNear->center());
        const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, 1920, 1080);
        const QSize size = window->size();
        int x = popupNear->center().x() - size.width() / 2;
        int y = popupNear->center().y() < area.center().y() ? popupNear->bottom() + 6
                                                            : popupNear->top() - size.height() - 6;
        x = std::clamp(x, area.left() + 6, area.right() - size.width() - 6);
        y = std::clamp(y, area.top() + 6, area.bottom() - size.height() - 6);
        window->setPosition(x, y);
    }
    window->show();
    window->raise();
    window->requestActivate();
    return window;
}

void TorvelApp::setUpTray() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) return;
    QIcon glyph(QStringLiteral(":/Torvel/icons/tray.svg"));
    glyph.setIsMask(true);
    tray_ = std::make_unique<QSystemTrayIcon>(glyph);
    tray_->setToolTip(QStringLiteral("Torvel"));
    trayMenu_ = std::make_unique<QMenu>();
    trayMenu_->addAction(QStringLiteral("Open Torvel"), this, [this] { togglePopup(); });
    trayMenu_->addSeparator();
    for (const auto section : AppSection::all) {
        trayMenu_->addAction(WindowRoute::titleOf(section), this,
                             [this, section] { windows_->show(section); });
    }
    trayMenu_->addSeparator();
    trayMenu_->addAction(QStringLiteral("Quit Torvel"), qApp, &QCoreApplication::quit);
    tray_->setContextMenu(trayMenu_.get());
    connect(tray_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) togglePopup();
    });
    tray_->show();
}

void TorvelApp::togglePopup() {
    if (window_ && window_->isVisible()) {
        window_->hide();
        return;
    }
    QRect icon = tray_ ? tray_->geometry() : QRect();
    if (icon.isEmpty()) {
        // Some trays do not tell where the icon is; the cursor is where the user just clicked.
        icon = QRect(QCursor::pos(), QSize(1, 1));
    }
    showPanel(icon);
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

void TorvelApp::closePopup() {
    // Only the popup by the tray goes; the panel's review window is an ordinary window and stays.
    if (window_ && window_->isVisible() && window_->property("popup").toBool()) window_->hide();
}

namespace {

// Waits, asleep between events, until the window is on screen and nothing it shows is still loading, lets its
// opening animations run for `settleMs`, then writes what it shows. Sleeping matters: the journal's reload
// runs on the other core, and a year of it should not share that core with a busy wait.
std::optional<QString> grabWhenReady(QQuickWindow* window, const QString& file, const QString& what,
                                     const std::function<bool()>& loading, int settleMs) {
    QElapsedTimer waited;
    waited.start();
    QTimer deadline;
    deadline.start(3000);
    while ((loading() || !window->isExposed()) && waited.elapsed() < 3000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    QElapsedTimer settle;
    settle.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    } while (settle.elapsed() < settleMs);
    const QImage image = window->grabWindow();
    if (image.isNull()) return QStringLiteral("cannot render the %1").arg(what);
    if (!image.save(file, "PNG", screenshotQuality)) return QStringLiteral("cannot write %1").arg(file);
    return std::nullopt;
}

}  // namespace

std::optional<QString> TorvelApp::screenshotSection(const QString& file, AppSection section) {
    start();
    if (!windows_->show(section)) return QStringLiteral("cannot load the main window");
    QQuickWindow* window = windows_->window();
    // The picture is always the window's first size, wherever the user last left it.
    window->resize(TorvelWindowController::firstSize);
    return grabWhenReady(
        window, file, QStringLiteral("main window"), [this] { return history_->reloadsInFlight() > 0; }, 0);
}

namespace {

// The screen each step shows in a picture, with words a user could meet there.
std::optional<OnboardingFlow::Step> sampleStep(const QString& name) {
    using Kind = OnboardingFlow::Step::Kind;
    using Step = OnboardingFlow::Step;
    const std::string wanted = name.isEmpty() ? std::string("welcome") : name.toStdString();
    for (int k = 0; k <= static_cast<int>(Kind::done); ++k) {
        const auto kind = static_cast<Kind>(k);
        if (torvel::name(kind) != wanted) continue;
        switch (kind) {
            case Kind::welcome:
                return Step::welcome({.discharge = true, .led = false});
            case Kind::installFailed:
                return Step::installFailed("Torvel wasn’t allowed to change the charge service.");
            case Kind::unsupported:
                return Step::unsupported(HardwareProbe::Unsupported::unknownHardware);
            case Kind::probeFailed:
                return Step::probeFailed("Part of Torvel is missing. Download it again and try once more.");
            default:
                return Step::plain(kind);
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<QString> TorvelApp::screenshotOnboarding(const QString& file, const QString& step) {
    const auto shown = sampleStep(step);
    if (!shown) {
        return QStringLiteral(
                   "unknown step %1: welcome, service, installFailed, awaitingApproval, handOver, "
                   "tuning, done, checking, unsupported or probeFailed")
            .arg(step);
    }
    if (!onboarding_->show({})) return QStringLiteral("cannot load the onboarding window");
    onboarding_->model()->preview(*shown);
    return grabWhenReady(
        onboarding_->window(), file, QStringLiteral("onboarding window"), [] { return false; }, 450);
}

std::optional<QString> TorvelApp::screenshotArrival(const QString& file) {
    battery_->refresh();
    const QString label = arrival_->label().value_or(QStringLiteral("64% → 80%"));
    QQuickWindow* window = ChargeArrivalController::stillOverlay(engine(), label);
    if (!window) return QStringLiteral("cannot load the arrival overlay");
    window->show();
    auto error = grabWhenReady(
        window, file, QStringLiteral("arrival overlay"), [] { return false; }, 450);
    delete window;
    return error;
}

std::optional<QString> TorvelApp::screenshotPanel(const QString& file) {
    // The journal is read as start-up reads it, so the readings and the sparkline are the ones a user sees.
    history_->refresh(settings_->thermalLimit());
    QQuickWindow* window = showPanel();
    if (!window) return QStringLiteral("cannot load the panel view");
    // The first reloads of the journal land first, so the readings row is the one a user would see.
    return grabWhenReady(
        window, file, QStringLiteral("panel"), [this] { return history_->reloadsInFlight() > 0; }, 0);
}

}  // namespace torvel::app
