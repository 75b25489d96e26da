#include "shell/main_window.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QSettings>

#include "extras/updater_model.h"
#include "history/history_model.h"
#include "service/charge_settings_model.h"

namespace torvel::app {

namespace {
const QString geometryKey = QStringLiteral("TorvelMainWindow/geometry");
}

TorvelWindowController::TorvelWindowController(Models models, QObject* parent)
    : QObject(parent), models_(std::move(models)) {
    connect(&route_, &WindowRoute::sectionChanged, this, [this] {
        if (window_) window_->setTitle(QString::fromStdString(route_.appSection().windowTitle()));
    });
}

TorvelWindowController::~TorvelWindowController() {
    if (window_ && window_->isVisible()) saveGeometry();
    if (windowIsLive_) windowWillClose();
}

std::optional<QRect> TorvelWindowController::savedGeometry() {
    const QRect saved = QSettings().value(geometryKey).toRect();
    if (!saved.isValid()) return std::nullopt;
    return saved;
}

void TorvelWindowController::saveGeometry() {
    if (window_ && models_.rememberGeometry) QSettings().setValue(geometryKey, window_->geometry());
}

QQuickWindow* TorvelWindowController::create() {
    QQmlApplicationEngine& engine = models_.engine();
    engine.load(QUrl(QStringLiteral("qrc:/Torvel/MainWindow.qml")));
    const auto roots = engine.rootObjects();
    if (roots.isEmpty()) return nullptr;
    auto* window = qobject_cast<QQuickWindow*>(roots.constLast());
    if (!window) return nullptr;
    window->setMinimumSize(minimumSize);
    const auto saved = savedGeometry();
    // A window left on a screen that is gone would open out of sight.
    const QScreen* home = saved ? QGuiApplication::screenAt(saved->center()) : nullptr;
    if (saved && home) {
        window->setGeometry(QRect(saved->topLeft(), saved->size().expandedTo(minimumSize)));
    } else {
        window->resize(firstSize);
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            const QRect area = screen->availableGeometry();
            window->setPosition(area.center() - QPoint(firstSize.width() / 2, firstSize.height() / 2));
        }
    }
    connect(window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible) windowWillClose();
    });
    return window;
}

bool TorvelWindowController::show(AppSection section) {
    emit closeMenuBarPanel();
    if (!window_) window_ = create();
    if (!window_) return false;
    if (models_.checkForUpdates && models_.updater && models_.updater->automatic())
        models_.updater->checkNow();
    if (!windowIsLive_) {
        windowIsLive_ = true;
        // watchLive retimes the poll, so the first live watcher switches it to the fast interval at once.
        models_.settings.watchLive();
        models_.settings.load();
        models_.settings.refreshStatus();
        models_.history.startTicking();
        models_.history.setLive(true);
    }
    route_.setSection(section);
    window_->setTitle(QString::fromStdString(route_.appSection().windowTitle()));
    window_->show();
    window_->raise();
    window_->requestActivate();
    return true;
}

void TorvelWindowController::windowWillClose() {
    if (!windowIsLive_) return;
    windowIsLive_ = false;
    saveGeometry();
    models_.settings.unwatchLive();
    models_.history.setLive(false);
}

}  // namespace torvel::app
