#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QRect>
#include <QString>
#include <functional>
#include <optional>

#include "app/section.h"
#include "shell/window_route.h"

class QQmlApplicationEngine;

namespace torvel::app {

class ChargeSettingsModel;
class HistoryModel;
class UpdaterModel;

// The one main window: five sections behind tabs. While it is open it counts as one live watcher, however
// often it is brought forward, and the journal reloads live; closing it undoes both.
class TorvelWindowController : public QObject {
    Q_OBJECT

  public:
    static constexpr QSize firstSize{900, 640};
    static constexpr QSize minimumSize{820, 560};

    struct Models {
        ChargeSettingsModel& settings;
        HistoryModel& history;
        UpdaterModel* updater = nullptr;  // may be absent; then no check starts when the window opens
        // The engine the panel shares, created on first use with every singleton registered.
        std::function<QQmlApplicationEngine&()> engine;
        bool checkForUpdates = true;   // off in screenshots and tests: no network
        bool rememberGeometry = true;  // off in screenshots and tests: the user's place stays the user's
    };

    explicit TorvelWindowController(Models models, QObject* parent = nullptr);
    ~TorvelWindowController() override;

    WindowRoute& route() { return route_; }
    // Opens (or brings forward) the main window at `section`. False when the view cannot be loaded.
    bool show(AppSection section);
    QQuickWindow* window() const { return window_; }
    bool windowIsLive() const { return windowIsLive_; }

    // Where the window was left, read back from the app's settings; absent on the first run.
    static std::optional<QRect> savedGeometry();

  signals:
    // Emitted before the window opens: the tray's panel popup must not stay over it.
    void closeMenuBarPanel();

  private:
    QQuickWindow* create();
    void windowWillClose();
    void saveGeometry();

    Models models_;
    WindowRoute route_;
    QPointer<QQuickWindow> window_;
    bool windowIsLive_ = false;
};

}  // namespace torvel::app
