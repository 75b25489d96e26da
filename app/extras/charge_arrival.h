#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QRect>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

#include "battery/system_lock.h"
#include "extras/arrival.h"
#include "status/notifier.h"

class QQmlApplicationEngine;
class QScreen;

namespace torvel::app {

class BatteryMonitor;
class ChargeSettingsModel;

// The short overlay that greets the charger: a bolt and the charge, under the top panel, for 2.2 s, at most
// once in ten seconds. ChargeArrival keeps those rules; this class finds the words, the screen and the way
// to show them.
class ChargeArrivalController : public QObject {
    Q_OBJECT

  public:
    struct Sources {
        BatteryMonitor* battery = nullptr;
        ChargeSettingsModel* settings = nullptr;
        SystemLock lock;
        std::function<double()> clock;
        // Whether there is a screen to show anything on (a closed lid with no display has none).
        std::function<bool()> screenAvailable;
        // Puts the label on screen for `visibleFor`; an absent label shows the bolt alone.
        std::function<void(const std::optional<QString>& label)> present;
        std::chrono::milliseconds visibleFor{static_cast<int>(ChargeArrival::visibleSeconds * 1000)};
    };

    explicit ChargeArrivalController(Sources sources, QObject* parent = nullptr);

    // Follows every plug-in edge the battery monitor posts.
    void activate();
    const ChargeArrival& state() const { return arrival_; }
    std::optional<QString> label() const;

    // How a running copy shows it: an overlay window, or where that cannot be placed or drawn translucent, a
    // transient silent desktop notification with the same words.
    struct Presenter {
        std::function<bool()> screenAvailable;
        std::function<void(const std::optional<QString>& label)> present;
    };
    static Presenter overlay(std::function<QQmlApplicationEngine&()> engine, QObject* context);
    static Presenter notification(NoticePoster transientNotice);

    // Where the overlay goes on `screen`: centred under its top panel.
    static QRect placement(const QScreen& screen);
    // The overlay window, fully open and still, for a picture. Null when the view cannot be loaded.
    static QQuickWindow* stillOverlay(QQmlApplicationEngine& engine, const QString& label);

  public slots:
    // One showing, subject to the cooldown.
    bool flash();
    // One showing asked for by the user (--arrival): the cooldown does not apply.
    void flashNow();

  private:
    Sources sources_;
    ChargeArrival arrival_;
};

}  // namespace torvel::app
