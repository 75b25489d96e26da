#include <QCoreApplication>
#include <QCursor>
#include <QDir>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QSystemTrayIcon>
#include <algorithm>

#include "app/section.h"
#include "service/charge_settings_model.h"
#include "shell/main_window.h"
#include "shell/torvel_app.h"

namespace torvel::app {

QIcon TorvelApp::appIcon() {
    // A build tree keeps copies of the installed icons in share/icons beside the programs, where no theme
    // search path would look; an installed copy's is the system's own and already searched.
    static const bool searched = [] {
        const QDir built(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/icons"));
        if (built.exists() && !QIcon::themeSearchPaths().contains(built.canonicalPath())) {
            QIcon::setThemeSearchPaths(QStringList{built.canonicalPath()} + QIcon::themeSearchPaths());
        }
        return true;
    }();
    (void)searched;
    return QIcon::fromTheme(QStringLiteral("com.torvel.Torvel"),
                            QIcon(QStringLiteral(":/Torvel/icons/flame.svg")));
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
            if (visible) {
                settings_->watchLive();
            } else {
                settings_->unwatchLive();
                popupClosed_.start();
            }
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
    // A named symbolic icon: the tray host recolours it for its panel, light or dark. The glyph inside the
    // binary is for a copy whose icons are nowhere a theme looks.
    appIcon();
    QIcon glyph = QIcon::fromTheme(QStringLiteral("com.torvel.Torvel-symbolic"));
    if (glyph.isNull()) glyph = QIcon(QStringLiteral(":/Torvel/icons/tray.svg"));
    glyph.setIsMask(true);
    tray_ = std::make_unique<QSystemTrayIcon>(glyph);
    tray_->setToolTip(QStringLiteral("Torvel"));
    trayMenu_ = std::make_unique<QMenu>();
    trayMenu_->addAction(QString::fromStdString(TrayMenuWords::open()), this, [this] { togglePopup(); });
    trayMenu_->addSeparator();
    for (const auto section : AppSection::all) {
        trayMenu_->addAction(WindowRoute::titleOf(section), this,
                             [this, section] { windows_->show(section); });
    }
    trayMenu_->addSeparator();
    trayMenu_->addAction(QString::fromStdString(TrayMenuWords::quit()), qApp, &QCoreApplication::quit);
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
    // The press on the icon took the focus from the open popup, which closed: that click meant "close".
    if (popupClosed_.isValid() && popupClosed_.elapsed() < 300) return;
    QRect icon = tray_ ? tray_->geometry() : QRect();
    if (icon.isEmpty()) {
        // Some trays do not tell where the icon is; the cursor is where the user just clicked.
        icon = QRect(QCursor::pos(), QSize(1, 1));
    }
    showPanel(icon);
}

void TorvelApp::closePopup() {
    // Only the popup by the tray goes; the panel's review window is an ordinary window and stays.
    if (window_ && window_->isVisible() && window_->property("popup").toBool()) window_->hide();
}

}  // namespace torvel::app
