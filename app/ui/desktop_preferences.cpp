#include "ui/desktop_preferences.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <cmath>

namespace torvel::app {

namespace {
const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settings = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString textScaling = QStringLiteral("text-scaling-factor");
const QString animations = QStringLiteral("enable-animations");
const QString kde = QStringLiteral("org.kde.kdeglobals.KDE");
const QString animationSpeed = QStringLiteral("AnimationDurationFactor");

// Read wraps the value in a second variant; ReadOne does not. Either way the value is inside.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        QDBusVariant inner;
        value.value<QDBusArgument>() >> inner;
        value = inner.variant();
    }
    return value;
}

// GNOME's own range for the factor; anything outside it is not a setting a user made.
std::optional<double> plausibleTextScale(const QVariant& value) {
    bool ok = false;
    const double factor = value.toDouble(&ok);
    if (!ok || !std::isfinite(factor) || factor < 0.5 || factor > 3.0) return std::nullopt;
    return factor;
}
}  // namespace

DesktopPreferences::DesktopPreferences(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {
    if (!bus_.isConnected()) return;
    // The slot's signature is matched by type name: until QDBusVariant is known by name the connection fails.
    qRegisterMetaType<QDBusVariant>();
    bus_.connect(portal, portalPath, settings, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString, QDBusVariant)));
    read(appearance, colorScheme);
    read(gnome, textScaling);
    read(gnome, animations);
    read(kde, animationSpeed);
}

std::optional<bool> DesktopPreferences::fromColorScheme(uint value) {
    if (value == 1) return true;
    if (value == 2) return false;
    return std::nullopt;
}

void DesktopPreferences::read(const QString& group, const QString& key, bool older) {
    // ReadOne came with version 2 of the interface; an older portal answers Read only.
    auto message = QDBusMessage::createMethodCall(portal, portalPath, settings,
                                                  older ? QStringLiteral("Read") : QStringLiteral("ReadOne"));
    message << group << key;
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, group, key, older] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            take(group, key, reply.arguments().constFirst());
        } else if (!older && reply.errorName() == u"org.freedesktop.DBus.Error.UnknownMethod") {
            read(group, key, true);
        }
    });
}

void DesktopPreferences::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
}

void DesktopPreferences::take(const QString& group, const QString& key, const QVariant& wrapped) {
    const QVariant value = unwrapped(wrapped);
    if (group == appearance && key == colorScheme) {
        bool ok = false;
        const uint scheme = value.toUInt(&ok);
        const std::optional<bool> dark = ok ? fromColorScheme(scheme) : std::nullopt;
        if (dark == dark_) return;
        dark_ = dark;
        emit darkChanged();
    } else if (group == gnome && key == textScaling) {
        const auto factor = plausibleTextScale(value);
        if (!factor || *factor == textScale_) return;
        textScale_ = *factor;
        emit textScaleChanged();
    } else if ((group == gnome && key == animations) || (group == kde && key == animationSpeed)) {
        const bool reducedBefore = reducedMotion();
        if (group == gnome) {
            if (value.userType() != QMetaType::Bool) return;
            gnomeAnimates_ = value.toBool();
        } else {
            // kdeglobals is a text file: the portal may hand the number over as the text it reads.
            bool ok = false;
            const double factor = value.toDouble(&ok);
            if (!ok || !std::isfinite(factor) || factor < 0) return;
            kdeAnimates_ = factor > 0;
        }
        if (reducedMotion() != reducedBefore) emit reducedMotionChanged();
    }
}

}  // namespace torvel::app
