#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

#include "app/start_up.h"
#include "battery/system_lock.h"
#include "common/paths.h"
#include "service/charge_settings.h"

class QIcon;
class QMenu;
class QQmlApplicationEngine;
class QQuickWindow;
class QSystemTrayIcon;

namespace torvel::client {
class Bus;
class ServiceClient;
class SystemdUnits;
}  // namespace torvel::client

namespace torvel::app {

class BatteryMonitor;
class BusPump;
class CalibrationModel;
class ChargeArrivalController;
class ServiceUnit;
class ChargeSettingsModel;
class DesktopNotifier;
class DesktopPreferences;
class Ember;
class HistoryModel;
class JournalPageModel;
class LoginItemModel;
class MacPageModel;
class OnboardingWindowController;
class PanelModel;
class ServiceInstaller;
class ServiceSteps;
class SettingsDefaults;
class SettingsPageModel;
class TorvelWindowController;
class UpdaterModel;

// The application: owns the three long-lived models and everything around them and runs the start-up sequence
// once. The tray and its popup live in tray_popup.cpp, the offscreen pictures in screenshots.cpp.
class TorvelApp : public QObject {
    Q_OBJECT

  public:
    struct Options {
        LaunchSwitches switches;
        bool dark = false;         // --dark: force the dark appearance
        bool watchDevices = true;  // off in tests and screenshots: no netlink socket
        bool useTray = true;       // off in tests and screenshots
    };

    explicit TorvelApp(Options options, QObject* parent = nullptr);
    ~TorvelApp() override;

    BatteryMonitor& battery() { return *battery_; }
    ChargeSettingsModel& settings() { return *settings_; }
    HistoryModel& history() { return *history_; }
    PanelModel& panel() { return *panel_; }
    ServiceInstaller& installer() { return *installer_; }
    MacPageModel& macPage() { return *macPage_; }
    JournalPageModel& journalPage() { return *journalPage_; }
    CalibrationModel& calibration() { return *calibration_; }
    Ember& ember() { return *ember_; }
    TorvelWindowController& windows() { return *windows_; }
    LoginItemModel& loginItem() { return *loginItem_; }
    OnboardingWindowController& onboarding() { return *onboarding_; }
    ChargeArrivalController& arrival() { return *arrival_; }

    // The one-time sequence: history ticking, a status refresh, and what the switches ask to open.
    void start();
    // Opens what a plan names: at start-up, or when a second launch hands its switches over.
    void open(const StartUpPlan& plan);
    // Whether the flame is in a tray: without a tray host the app runs in the background.
    bool inTray() const { return tray_ != nullptr; }
    // The app's icon from the installed icon theme, the copy inside the binary when there is none.
    static QIcon appIcon();
    // The panel in a window of its own; `popupNear` places it as a frameless popup by the tray icon.
    QQuickWindow* showPanel(std::optional<QRect> popupNear = std::nullopt);
    // Renders the panel offscreen into `file` (PNG). Returns an error text, or none when written.
    std::optional<QString> screenshotPanel(const QString& file);
    // Renders a section of the main window offscreen into `file`, once the first status refresh and journal
    // load have landed, so the picture is what a user would see.
    std::optional<QString> screenshotSection(const QString& file, AppSection section);
    // Renders one onboarding screen (`step` names it, as OnboardingFlow does; the welcome by default).
    std::optional<QString> screenshotOnboarding(const QString& file, const QString& step);
    // Renders the charge arrival fully open.
    std::optional<QString> screenshotArrival(const QString& file);
    // Opens the main window at a section given by name; an unknown name opens the first tab.
    void openSection(const QString& section);

    static InstallationFacts installationFacts();
    static double wallClock();

  private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void followAppearance();
    QQuickWindow* panelWindow();
    void setUpTray();
    void togglePopup();
    QQmlApplicationEngine& engine();
    void closePopup();
    // "Open Terminal": the line that removes the old service is for the user to run.
    void openTerminal(const QString& command);

    Options options_;
    Paths paths_;
    SystemLock lock_;
    std::unique_ptr<Ember> ember_;
    // Declared before what uses it, so that it outlives every pending call's owner.
    std::unique_ptr<client::Bus> bus_;
    std::unique_ptr<BusPump> busPump_;
    std::unique_ptr<client::SystemdUnits> units_;
    std::unique_ptr<client::ServiceClient> calls_;
    std::unique_ptr<ServiceUnit> service_;
    std::unique_ptr<ChargeSettingsModel> settings_;
    std::unique_ptr<BatteryMonitor> battery_;
    std::unique_ptr<HistoryModel> history_;
    std::unique_ptr<SettingsDefaults> defaults_;
    std::unique_ptr<DesktopNotifier> notifier_;
    std::unique_ptr<PanelModel> panel_;
    std::unique_ptr<UpdaterModel> updater_;
    std::unique_ptr<LoginItemModel> loginItem_;
    std::unique_ptr<SettingsPageModel> settingsPage_;
    std::unique_ptr<ServiceInstaller> installer_;
    std::unique_ptr<MacPageModel> macPage_;
    std::unique_ptr<JournalPageModel> journalPage_;
    std::unique_ptr<CalibrationModel> calibration_;
    std::unique_ptr<TorvelWindowController> windows_;
    std::unique_ptr<ServiceSteps> onboardingSteps_;
    std::unique_ptr<OnboardingWindowController> onboarding_;
    std::unique_ptr<ChargeArrivalController> arrival_;
    std::unique_ptr<QQmlApplicationEngine> engine_;
    QPointer<QQuickWindow> window_;
    DesktopPreferences* desktop_ = nullptr;
    // When the popup last went away: the click on the tray icon that took its focus should not reopen it.
    QElapsedTimer popupClosed_;
    std::unique_ptr<QMenu> trayMenu_;
    std::unique_ptr<QSystemTrayIcon> tray_;
    bool started_ = false;
};

}  // namespace torvel::app
