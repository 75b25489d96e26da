#include "shell/run.h"

#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSystemTrayIcon>
#include <QTime>
#include <QTimer>
#include <cstdio>
#include <string>
#include <vector>

#include "battery/battery_monitor.h"
#include "common/fmt.h"
#include "history/history_model.h"
#include "locale_setup.h"
#include "service/charge_settings_model.h"
#include "shell/main_window.h"
#include "ui/panel_model.h"

namespace torvel::app {

QString CommandLine::usage() {
    return QStringLiteral(
        "Usage: torvel [SWITCHES]\n"
        "Keeps the battery inside the charge range you choose, from the system tray.\n"
        "\n"
        "  --settings SECTION    open the main window at a section: today, settings, mac, memory,\n"
        "                        calibration (--reglages is the same)\n"
        "  --panel               show the tray panel in an ordinary window (--panneau is the same)\n"
        "  --onboarding          open the first-run flow for review\n"
        "  --arrival             play the charger's arrival animation once, shortly after start\n"
        "  --dark                draw in the dark appearance whatever the desktop's\n"
        "  --step NAME           with --screenshot --onboarding, the screen to render: welcome,\n"
        "                        service, installFailed, awaitingApproval, handOver, tuning, done,\n"
        "                        checking, unsupported or probeFailed\n"
        "  --screenshot FILE     render the panel, or with --settings that section of the main\n"
        "                        window, with --onboarding a first-run screen, with --arrival the\n"
        "                        charger's arrival, into FILE (PNG) offscreen, then exit\n"
        "  --headless            no window: print the charge and the panel's line every second\n"
        "  --seconds N           stop a headless run after N seconds\n"
        "  --locale ID           the locale of numbers and dates, such as en or ja\n"
        "  --range RANGE         the span Long memory shows: day, week, month or year\n"
        "  --help                show this and exit\n");
}

namespace {
// The review switches core reads; the one in the second list takes the next word with it.
bool isReviewSwitch(const QString& word) {
    return word == u"--arrival" || word == u"--onboarding" || word == u"--panel" || word == u"--panneau";
}
bool isSectionSwitch(const QString& word) {
    return word == u"--settings" || word == u"--reglages";
}
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
}  // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine line;
    std::vector<std::string> words;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& word = arguments[i];
        if (word == u"--help" || word == u"-h") {
            line.help = true;
        } else if (isSectionSwitch(word)) {
            if (i + 1 >= arguments.size()) {
                line.error =
                    word + QStringLiteral(" needs a section: today, settings, mac, memory or calibration");
                return line;
            }
            words.push_back(word.toStdString());
            words.push_back(arguments[++i].toStdString());
        } else if (isReviewSwitch(word)) {
            words.push_back(word.toStdString());
        } else if (word.startsWith(u'-') && !word.startsWith(u"--")) {
            // Qt's own options (-platform, -style, ...) are QApplication's to read, with their values.
            if (takesValue(word) && i + 1 < arguments.size()) ++i;
        } else if (word == u"--screenshot") {
            if (i + 1 >= arguments.size()) {
                line.error = QStringLiteral("--screenshot needs a file name");
                return line;
            }
            line.screenshot = arguments[++i];
        } else if (word == u"--step") {
            if (i + 1 >= arguments.size()) {
                line.error = QStringLiteral("--step needs the name of an onboarding screen");
                return line;
            }
            line.step = arguments[++i];
        } else if (word == u"--headless") {
            line.headless = true;
        } else if (word == u"--seconds") {
            bool ok = false;
            const int n = i + 1 < arguments.size() ? arguments[++i].toInt(&ok) : 0;
            if (!ok || n < 0) {
                line.error = QStringLiteral("--seconds needs a whole number of seconds");
                return line;
            }
            line.seconds = n;
        } else if (word == u"--dark") {
            line.options.dark = true;
        } else if (word == u"--locale") {
            if (i + 1 >= arguments.size() || arguments[i + 1].isEmpty()) {
                line.error = QStringLiteral("--locale needs a locale identifier such as en or ja");
                return line;
            }
            line.locale = arguments[++i].toStdString();
        } else if (word == u"--range") {
            if (i + 1 >= arguments.size() ||
                !torvel::HistoryModel::rangeNamed(arguments[i + 1].toStdString())) {
                line.error = QStringLiteral("--range needs one of day, week, month or year");
                return line;
            }
            line.range = arguments[++i];
        } else {
            line.error = QStringLiteral("unknown switch %1 (try --help)").arg(word);
            return line;
        }
    }
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

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Torvel"));
    QApplication::setOrganizationName(QStringLiteral("Torvel"));
    QApplication::setApplicationVersion(QStringLiteral(TORVEL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("torvel"));

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
        return 0;
    }
    if (line.headless) return watchHeadless(torvel, line.seconds);
    // With a tray icon, closing the panel leaves the app in the tray; without one, the window is the app.
    QApplication::setQuitOnLastWindowClosed(!QSystemTrayIcon::isSystemTrayAvailable());
    torvel.start();
    return QApplication::exec();
}

}  // namespace torvel::app
