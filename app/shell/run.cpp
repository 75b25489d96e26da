#include "shell/run.h"

#include <QApplication>
#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QIcon>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTime>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "battery/battery_monitor.h"
#include "common/fmt.h"
#include "history/history_model.h"
#include "locale_setup.h"
#include "service/charge_settings_model.h"
#include "shell/main_window.h"
#include "shell/single_instance.h"
#include "ui/panel_model.h"

namespace torvel::app {

namespace {

// Qt's own options (-platform, -style, ...) are QApplication's to read, with their values; the parser sees
// the rest.
bool takesValue(const QString& qtOption) {
    static const QStringList withValue{QStringLiteral("-platform"),
                                       QStringLiteral("-platformpluginpath"),
                                       QStringLiteral("-platformtheme"),
                                       QStringLiteral("-plugin"),
                                       QStringLiteral("-style"),
                                       QStringLiteral("-stylesheet"),
                                       QStringLiteral("-qwindowgeometry"),
                                       QStringLiteral("-qwindowtitle"),
                                       QStringLiteral("-qwindowicon"),
                                       QStringLiteral("-display"),
                                       QStringLiteral("-geometry"),
                                       QStringLiteral("-title"),
                                       QStringLiteral("-name"),
                                       QStringLiteral("-session")};
    return withValue.contains(qtOption);
}

QStringList withoutToolkitOptions(const QStringList& arguments) {
    QStringList kept;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& word = arguments[i];
        if (i > 0 && word.startsWith(u'-') && !word.startsWith(u"--") && word != u"-h" && word != u"-v") {
            if (takesValue(word) && i + 1 < arguments.size()) ++i;
            continue;
        }
        kept << word;
    }
    return kept;
}

struct Switches {
    QCommandLineOption section{
        {QStringLiteral("settings"), QStringLiteral("reglages")},
        QStringLiteral("Open the main window at a section: today, settings, mac, memory or "
                       "calibration."),
        QStringLiteral("section")};
    QCommandLineOption window{
        QStringLiteral("window"),
        QStringLiteral("Open the main window, as the launcher in the application list does.")};
    QCommandLineOption panel{{QStringLiteral("panel"), QStringLiteral("panneau")},
                             QStringLiteral("Show the tray panel in an ordinary window.")};
    QCommandLineOption onboarding{QStringLiteral("onboarding"),
                                  QStringLiteral("Open the first-run flow for review.")};
    QCommandLineOption arrival{
        QStringLiteral("arrival"),
        QStringLiteral("Play the charger's arrival animation once, shortly after start.")};
    QCommandLineOption dark{QStringLiteral("dark"),
                            QStringLiteral("Draw in the dark appearance whatever the desktop's.")};
    QCommandLineOption step{
        QStringLiteral("step"),
        QStringLiteral("With --screenshot --onboarding, the screen to render: welcome, service, "
                       "installFailed, awaitingApproval, handOver, tuning, done, checking, "
                       "unsupported or probeFailed."),
        QStringLiteral("name")};
    QCommandLineOption screenshot{
        QStringLiteral("screenshot"),
        QStringLiteral("Render the panel, or with --settings that section of the main "
                       "window, with --onboarding a first-run screen, with --arrival the "
                       "charger's arrival, into a PNG file offscreen, then exit."),
        QStringLiteral("file")};
    QCommandLineOption headless{
        QStringLiteral("headless"),
        QStringLiteral("No window: print the charge and the panel's line every second.")};
    QCommandLineOption seconds{QStringLiteral("seconds"),
                               QStringLiteral("Stop a headless run after N seconds."), QStringLiteral("N")};
    QCommandLineOption locale{QStringLiteral("locale"),
                              QStringLiteral("The locale of numbers and dates, such as en or ja."),
                              QStringLiteral("id")};
    QCommandLineOption range{QStringLiteral("range"),
                             QStringLiteral("The span Long memory shows: day, week, month or year."),
                             QStringLiteral("range")};
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Show this and exit.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                               QStringLiteral("Show the version and exit.")};

    void addTo(QCommandLineParser& parser) const {
        parser.setApplicationDescription(
            QStringLiteral("Keeps the battery inside the charge range you choose, from the system tray."));
        parser.addOptions({section, window, panel, onboarding, arrival, dark, step, screenshot, headless,
                           seconds, locale, range, help, version});
    }
};

}  // namespace

QString CommandLine::usage() {
    QCommandLineParser parser;
    Switches().addTo(parser);
    QString text = parser.helpText();
    // The parser names the program after argv[0]; the usage line names the installed command.
    const qsizetype end = text.indexOf(u'\n');
    return QStringLiteral("Usage: torvel [options]") + text.mid(end);
}

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine line;
    QCommandLineParser parser;
    const Switches switches;
    switches.addTo(parser);
    if (!parser.parse(withoutToolkitOptions(arguments))) {
        line.error = parser.errorText() + QStringLiteral(" (try --help)");
        return line;
    }
    if (!parser.positionalArguments().isEmpty()) {
        line.error =
            QStringLiteral("unknown switch %1 (try --help)").arg(parser.positionalArguments().first());
        return line;
    }
    line.help = parser.isSet(switches.help);
    line.version = parser.isSet(switches.version);
    if (parser.isSet(switches.screenshot)) line.screenshot = parser.value(switches.screenshot);
    if (parser.isSet(switches.step)) line.step = parser.value(switches.step);
    line.headless = parser.isSet(switches.headless);
    if (parser.isSet(switches.seconds)) {
        bool ok = false;
        const int n = parser.value(switches.seconds).toInt(&ok);
        if (!ok || n < 0) {
            line.error = QStringLiteral("--seconds needs a whole number of seconds");
            return line;
        }
        line.seconds = n;
    }
    line.options.dark = parser.isSet(switches.dark);
    if (parser.isSet(switches.locale)) {
        if (parser.value(switches.locale).isEmpty()) {
            line.error = QStringLiteral("--locale needs a locale identifier such as en or ja");
            return line;
        }
        line.locale = parser.value(switches.locale).toStdString();
    }
    if (parser.isSet(switches.range)) {
        if (!torvel::HistoryPlan::rangeNamed(parser.value(switches.range).toStdString())) {
            line.error = QStringLiteral("--range needs one of day, week, month or year");
            return line;
        }
        line.range = parser.value(switches.range);
    }

    // The review switches are core's to read, as words; they are also what a second launch hands over.
    std::vector<std::string> words;
    const auto add = [&](const QString& word) {
        words.push_back(word.toStdString());
        line.handOver << word;
    };
    if (parser.isSet(switches.section)) {
        add(QStringLiteral("--settings"));
        add(parser.value(switches.section));
    }
    if (parser.isSet(switches.window)) add(QStringLiteral("--window"));
    if (parser.isSet(switches.panel)) add(QStringLiteral("--panel"));
    if (parser.isSet(switches.onboarding)) add(QStringLiteral("--onboarding"));
    if (parser.isSet(switches.arrival)) add(QStringLiteral("--arrival"));
    line.options.switches = LaunchSwitches::parse(words);
    if (line.screenshot) line.options.watchDevices = false;
    if (line.screenshot || line.headless) line.options.useTray = false;
    return line;
}

namespace {

// The same models as the panel, told as text: a look at a running system from a terminal or a CI log.
int watchHeadless(TorvelApp& torvel, std::optional<int> seconds) {
    torvel.start();
    // Printing every second is watching live, as an open panel does.
    torvel.settings().watchLive();
    PanelModel& panel = torvel.panel();
    QTimer tick;
    int printed = 0;
    const auto print = [&] {
        torvel.battery().refresh();
        std::printf("%s  %3d%%  %s\n", qPrintable(QTime::currentTime().toString(QStringLiteral("HH:mm:ss"))),
                    panel.charge(), qPrintable(panel.line()));
        std::fflush(stdout);
        if (seconds && ++printed >= *seconds) QCoreApplication::quit();
    };
    QObject::connect(&tick, &QTimer::timeout, print);
    tick.start(1000);
    print();
    return QApplication::exec();
}

}  // namespace

int run(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    CommandLine line = CommandLine::parse(arguments);
    // Texts, numbers, dates and spelled counts follow the environment's locale, or --locale.
    l10n::setUp(line.locale);
    if (line.error) {
        std::fprintf(stderr, "torvel: %s\n", qPrintable(*line.error));
        return 2;
    }
    if (line.help) {
        std::fputs(qPrintable(CommandLine::usage()), stdout);
        return 0;
    }
    if (line.version) {
        std::printf("torvel %s\n", TORVEL_VERSION);
        return 0;
    }
    if (line.screenshot || line.headless) {
        // No display needed, and the same pixels on every machine: offscreen, software-rendered, at 2x.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        if (qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR")) qputenv("QT_SCALE_FACTOR", "2");
    }
    // The panel is a few flat shapes and text: the software renderer draws it in a fraction of the memory a
    // GL context costs a process that mostly sits in the tray. QT_QUICK_BACKEND still chooses otherwise.
    if (line.screenshot || qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND")) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }

    // X11 desktops tie a window to its launcher by WM_CLASS: its instance part is the app id, as the desktop
    // entry's StartupWMClass says. (Wayland goes by the desktop file name, set below.) Qt's -name sets it for
    // this process alone, where RESOURCE_NAME would pass on to the terminal the app opens.
    std::vector<char*> withName(argv, argv + argc);
    static char nameSwitch[] = "-name";
    static char appId[] = "com.torvel.Torvel";
    if (argc > 0 && !arguments.contains(QStringLiteral("-name")))
        withName.insert(withName.begin() + 1, {nameSwitch, appId});
    int withNameCount = static_cast<int>(withName.size());
    withName.push_back(nullptr);
    QApplication application(withNameCount, withName.data());
    QApplication::setApplicationName(QStringLiteral("Torvel"));
    QApplication::setOrganizationName(QStringLiteral("Torvel"));
    QApplication::setApplicationVersion(QStringLiteral(TORVEL_VERSION));
    // The app id: the desktop entry's name, which the desktop ties the windows, the launcher and the
    // notification settings to.
    QApplication::setDesktopFileName(QStringLiteral("com.torvel.Torvel"));
    QApplication::setWindowIcon(TorvelApp::appIcon());

    // Pictures and headless runs are tools beside the app; a copy looking at another data directory (the
    // demo's) is another app. Everything else is the one copy of the session.
    std::unique_ptr<SingleInstance> instance;
    if (!line.screenshot && !line.headless && !processEnvironment("TORVEL_ROOT")) {
        instance = std::make_unique<SingleInstance>(QDBusConnection::sessionBus());
        if (instance->claim(line.handOver) == SingleInstance::Outcome::handedOver) return 0;
    }

    TorvelApp torvel(line.options);
    if (line.range) torvel.history().setRangeName(*line.range);
    if (line.screenshot) {
        const auto& switches = line.options.switches;
        const auto& section = switches.settingsSection;
        const auto error =
            switches.onboarding ? torvel.screenshotOnboarding(*line.screenshot, line.step.value_or(QString()))
            : switches.arrival  ? torvel.screenshotArrival(*line.screenshot)
            : section           ? torvel.screenshotSection(*line.screenshot,
                                                           AppSection::named(*section).value_or(AppSection::today))
                                : torvel.screenshotPanel(*line.screenshot);
        if (error) {
            std::fprintf(stderr, "torvel: %s\n", qPrintable(*error));
            return 1;
        }
        // The picture and its texts are written and closed. Tearing the views down now can post to Qt's image
        // reader thread before that thread has an event dispatcher (a crash at exit under the sanitizers),
        // and a one-shot render has nothing left to save: end here.
        std::fflush(nullptr);
        std::_Exit(0);
    }
    if (line.headless) return watchHeadless(torvel, line.seconds);
    if (instance) {
        instance->onActivate([&torvel](const QStringList& switches) {
            const CommandLine handed = CommandLine::parse(QStringList{QStringLiteral("torvel")} + switches);
            if (!handed.error) torvel.open(StartUpPlan::handedOver(handed.options.switches));
        });
    }
    torvel.start();
    // In the tray, or in the background without a tray host, closing a window leaves the app running; only
    // the panel's review window, opened for its own sake, is the app.
    QApplication::setQuitOnLastWindowClosed(!torvel.inTray() && line.options.switches.panel);
    return QApplication::exec();
}

}  // namespace torvel::app
