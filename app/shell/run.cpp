#include "shell/run.h"

#include <QApplication>
#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QIcon>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QSGRendererInterface>
#include <QTime>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "app/app_switches.h"
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

QString fromCore(const std::string& text) {
    return QString::fromStdString(text);
}

// The switches as core words them, for Qt's parser; read back by their first names.
void addSwitches(QCommandLineParser& parser) {
    parser.setApplicationDescription(fromCore(AppCommandLineWords::description()));
    for (const AppSwitch& word : AppCommandLineWords::switches()) {
        QStringList names;
        for (const std::string& name : word.names) names << fromCore(name);
        parser.addOption(QCommandLineOption(names, fromCore(word.description), fromCore(word.valueName)));
    }
}

}  // namespace

QString CommandLine::usage() {
    QCommandLineParser parser;
    addSwitches(parser);
    QString text = parser.helpText();
    // The parser names the program after argv[0] and words its headings in Qt's language: the usage line
    // names the installed command, and both read in the catalogue's.
    const qsizetype end = text.indexOf(u'\n');
    text = fromCore(AppCommandLineWords::usageLine()) + text.mid(end);
    text.replace(QStringLiteral("\nOptions:\n"),
                 u'\n' + fromCore(AppCommandLineWords::optionsHeading()) + u'\n');
    return text;
}

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine line;
    QCommandLineParser parser;
    addSwitches(parser);
    if (!parser.parse(withoutToolkitOptions(arguments))) {
        // Qt words its complaints in English whatever the reader's language (the app loads no Qt catalogue):
        // the two a user meets, a switch it does not know and one left without its value, are ours to word.
        static const QRegularExpression missingValue(QStringLiteral("^Missing value after '(.+)'\\.$"));
        const QStringList unknown = parser.unknownOptionNames();
        const QRegularExpressionMatch missing = missingValue.match(parser.errorText());
        if (!unknown.isEmpty()) {
            line.error = fromCore(AppCommandLineWords::unknownSwitch(
                (unknown.first().size() == 1 ? "-" : "--") + unknown.first().toStdString()));
        } else if (missing.hasMatch()) {
            line.error = fromCore(AppCommandLineWords::valueNeeded(missing.captured(1).toStdString()));
        } else {
            line.error = fromCore(AppCommandLineWords::refused(parser.errorText().toStdString()));
        }
        return line;
    }
    if (!parser.positionalArguments().isEmpty()) {
        line.error =
            fromCore(AppCommandLineWords::unknownSwitch(parser.positionalArguments().first().toStdString()));
        return line;
    }
    const auto isSet = [&](const char* name) { return parser.isSet(QLatin1String(name)); };
    const auto value = [&](const char* name) { return parser.value(QLatin1String(name)); };
    line.help = isSet("help");
    line.version = isSet("version");
    if (isSet("screenshot")) line.screenshot = value("screenshot");
    if (isSet("step")) line.step = value("step");
    line.headless = isSet("headless");
    if (isSet("seconds")) {
        bool ok = false;
        const int n = value("seconds").toInt(&ok);
        if (!ok || n < 0) {
            line.error = fromCore(AppCommandLineWords::secondsNeeded());
            return line;
        }
        line.seconds = n;
    }
    line.options.dark = isSet("dark");
    if (isSet("locale")) {
        if (value("locale").isEmpty()) {
            line.error = fromCore(AppCommandLineWords::localeNeeded());
            return line;
        }
        line.locale = value("locale").toStdString();
    }
    if (isSet("range")) {
        if (!torvel::HistoryPlan::rangeNamed(value("range").toStdString())) {
            line.error = fromCore(AppCommandLineWords::rangeNeeded());
            return line;
        }
        line.range = value("range");
    }

    // The review switches are core's to read, as words; they are also what a second launch hands over.
    std::vector<std::string> words;
    const auto add = [&](const QString& word) {
        words.push_back(word.toStdString());
        line.handOver << word;
    };
    if (isSet("settings")) {
        add(QStringLiteral("--settings"));
        add(value("settings"));
    }
    if (isSet("window")) add(QStringLiteral("--window"));
    if (isSet("panel")) add(QStringLiteral("--panel"));
    if (isSet("onboarding")) add(QStringLiteral("--onboarding"));
    if (isSet("arrival")) add(QStringLiteral("--arrival"));
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
    // Read again now that the catalogue is the reader's: a refusal is worded in their language.
    line = CommandLine::parse(arguments);
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
