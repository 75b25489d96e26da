#include "extras/charge_arrival.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QScreen>
#include <QTimer>

#include "battery/battery_monitor.h"
#include "extras/notch_geometry.h"
#include "service/charge_settings_model.h"
#include "status/panel_state.h"

namespace torvel::app {

namespace {

const QUrl overlayView(QStringLiteral("qrc:/Torvel/ArrivalOverlay.qml"));

// The screen the user is looking at: the one holding the pointer.
QScreen* screenInUse() {
    if (QScreen* screen = QGuiApplication::screenAt(QCursor::pos())) return screen;
    return QGuiApplication::primaryScreen();
}

QQuickWindow* createOverlay(QQmlApplicationEngine& engine, const QString& label, bool still) {
    QQmlComponent component(&engine, overlayView);
    // Qt 6.4 crashes creating from a component that failed to load.
    if (!component.isReady()) {
        qWarning("torvel: %s", qPrintable(component.errorString()));
        return nullptr;
    }
    QObject* made = component.createWithInitialProperties(
        {{QStringLiteral("label"), label}, {QStringLiteral("still"), still}});
    auto* window = qobject_cast<QQuickWindow*>(made);
    if (!window) delete made;
    return window;
}

}  // namespace

ChargeArrivalController::ChargeArrivalController(Sources sources, QObject* parent)
    : QObject(parent), sources_(std::move(sources)) {}

void ChargeArrivalController::activate() {
    if (sources_.battery) {
        connect(sources_.battery, &BatteryMonitor::pluggedIn, this, &ChargeArrivalController::flash);
    }
}

std::optional<QString> ChargeArrivalController::label() const {
    if (!sources_.battery || !sources_.battery->percentageKnown()) return std::nullopt;
    std::optional<ChargeArrival::Limit> limit;
    if (sources_.settings) {
        const ChargeSettingsState& settings = sources_.settings->value();
        limit = ChargeArrival::Limit{.enabled = settings.settings.enabled,
                                     .systemLocked = sources_.lock.active,
                                     .target = PanelStatus::target(settings)};
    }
    const auto words = ChargeArrival::label(sources_.battery->percentage(), limit);
    if (!words) return std::nullopt;
    return QString::fromStdString(*words);
}

bool ChargeArrivalController::flash() {
    const bool screen = sources_.screenAvailable && sources_.screenAvailable();
    if (!arrival_.flash(sources_.clock(), screen)) return false;
    if (sources_.present) sources_.present(label());
    QTimer::singleShot(sources_.visibleFor, this, [this] { arrival_.finished(); });
    return true;
}

void ChargeArrivalController::flashNow() {
    arrival_.forget();
    flash();
}

QRect ChargeArrivalController::placement(const QScreen& screen) {
    const QRect whole = screen.geometry();
    const QRect usable = screen.availableGeometry();
    // Core measures from the bottom left, y upwards; one screen alone needs no more than its own height.
    ScreenFacts facts{
        .frame = {0, 0, static_cast<double>(whole.width()), static_cast<double>(whole.height())},
        .topInset = static_cast<double>(usable.top() - whole.top()),
        .auxiliaryTopLeft = std::nullopt,
        .auxiliaryTopRight = std::nullopt};
    const ScreenRect frame = NotchGeometry::on(facts).frame;
    const double top = facts.frame.height - frame.maxY();
    return QRect(whole.left() + static_cast<int>(frame.x), whole.top() + static_cast<int>(top),
                 static_cast<int>(frame.width), static_cast<int>(frame.height));
}

ChargeArrivalController::Presenter ChargeArrivalController::overlay(
    std::function<QQmlApplicationEngine&()> engine, QObject* context) {
    auto shown = std::make_shared<QPointer<QQuickWindow>>();
    return {
        .screenAvailable = [] { return screenInUse() != nullptr; },
        .present =
            [engine = std::move(engine), context, shown](const std::optional<QString>& label) {
                if (*shown) delete shown->data();
                QScreen* screen = screenInUse();
                if (!screen) return;
                QQuickWindow* window = createOverlay(engine(), label.value_or(QString()), false);
                if (!window) return;
                *shown = window;
                window->setScreen(screen);
                window->setGeometry(placement(*screen));
                window->show();
                // The view plays its own opening and closing; the window goes once they are over.
                QTimer::singleShot(static_cast<int>(ChargeArrival::visibleSeconds * 1000), context, [shown] {
                    if (*shown) shown->data()->deleteLater();
                    shown->clear();
                });
            },
    };
}

ChargeArrivalController::Presenter ChargeArrivalController::notification(NoticePoster transientNotice) {
    return {
        .screenAvailable = [] { return !QGuiApplication::screens().isEmpty(); },
        .present =
            [transientNotice = std::move(transientNotice)](const std::optional<QString>& label) {
                transientNotice(label.value_or(QStringLiteral("⚡")).toStdString(), {}, {}, [](bool) {});
            },
    };
}

QQuickWindow* ChargeArrivalController::stillOverlay(QQmlApplicationEngine& engine, const QString& label) {
    QQuickWindow* window = createOverlay(engine, label, true);
    if (!window) return nullptr;
    if (QScreen* screen = screenInUse()) window->setGeometry(placement(*screen));
    return window;
}

}  // namespace torvel::app
