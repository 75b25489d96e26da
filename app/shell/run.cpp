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
#include "service/charge_settings_model.h"
#include "ui/panel_model.h"

namespace torvel::app {

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine line;
    std::vector<std::string> words;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& word = arguments[i];
        if (word == u"--screenshot") {
            if (i + 1 >= arguments.size()) {
                line.error = QStringLiteral("--screenshot needs a file name");
                return line;
            }
            line.screenshot = arguments[++i];
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
        } else {
            words.push_back(word.toStdString());
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
    // Numbers, dates and spelled counts follow the chosen localisation; English unless one is asked for.
    if (line.locale) Fmt::useLocale(*line.locale);
    if (line.error) {
        std::fprintf(stderr, "torvel: %s\n", qPrintable(*line.error));
        return 2;
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
    if (line.screenshot) {
        if (line.options.switches.settingsSection) {
            std::fprintf(stderr, "torvel: the settings page is not part of this build yet\n");
            return 2;
        }
        if (const auto error = torvel.screenshotPanel(*line.screenshot)) {
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
