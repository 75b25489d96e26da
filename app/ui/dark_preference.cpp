#include "ui/dark_preference.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace torvel::app {

namespace {
const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settings = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

// Read wraps the value in a second variant; ReadOne does not. Either way the number is inside.
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
}  // namespace

DarkPreference::DarkPreference(QDBusConnection bus, QObject* parent) : QObject(parent), bus_(std::move(bus)) {
    if (!bus_.isConnected()) return;
    // The slot's signature is matched by type name: until QDBusVariant is known by name the connection fails.
    qRegisterMetaType<QDBusVariant>();
    bus_.connect(portal, portalPath, settings, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QString, QString, QDBusVariant)));
    read(false);
}

std::optional<bool> DarkPreference::fromColorScheme(uint value) {
    if (value == 1) return true;
    if (value == 2) return false;
    return std::nullopt;
}

void DarkPreference::read(bool older) {
    // ReadOne came with version 2 of the interface; an older portal answers Read only.
    auto message = QDBusMessage::createMethodCall(portal, portalPath, settings,
                                                  older ? QStringLiteral("Read") : QStringLiteral("ReadOne"));
    message << appearance << colorScheme;
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, older] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            take(reply.arguments().constFirst());
        } else if (!older && reply.errorName() != u"org.freedesktop.DBus.Error.NoReply" &&
                   reply.errorName() != u"org.freedesktop.DBus.Error.ServiceUnknown") {
            read(true);
        }
    });
}

void DarkPreference::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group == appearance && key == colorScheme) take(value.variant());
}

void DarkPreference::take(const QVariant& value) {
    bool ok = false;
    const uint scheme = unwrapped(value).toUInt(&ok);
    const std::optional<bool> dark = ok ? fromColorScheme(scheme) : std::nullopt;
    if (dark == dark_) return;
    dark_ = dark;
    emit changed();
}

}  // namespace torvel::app
