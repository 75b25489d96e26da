#include "shell/run.h"

#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSystemTrayIcon>
#include <cstdio>
#include <string>
#include <vector>

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
        } else if (word == u"--dark") {
            line.options.dark = true;
        } else {
            words.push_back(word.toStdString());
        }
    }
    line.options.switches = LaunchSwitches::parse(words);
    if (line.screenshot) {
        line.options.watchDevices = false;
        line.options.useTray = false;
    }
    return line;
}

int run(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    CommandLine line = CommandLine::parse(arguments);
    if (line.error) {
        std::fprintf(stderr, "torvel: %s\n", qPrintable(*line.error));
        return 2;
    }
    if (line.screenshot) {
        // No display needed, and the same pixels on every machine: offscreen, software-rendered, at 2x.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        if (qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR")) qputenv("QT_SCALE_FACTOR", "2");
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
    // With a tray icon, closing the panel leaves the app in the tray; without one, the window is the app.
    QApplication::setQuitOnLastWindowClosed(!QSystemTrayIcon::isSystemTrayAvailable());
    torvel.start();
    return QApplication::exec();
}

}  // namespace torvel::app
