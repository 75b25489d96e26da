#include "status/desktop_notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QStringList>
#include <QVariantMap>

namespace torvel::app {

SettingsDefaults::SettingsDefaults(const QString& fileName)
    : settings_(fileName.isEmpty()
                    ? std::make_unique<QSettings>(QStringLiteral("Torvel"), QStringLiteral("Torvel"))
                    : std::make_unique<QSettings>(fileName, QSettings::IniFormat)) {}

bool SettingsDefaults::boolean(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    return settings_->value(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())), false)
        .toBool();
}

void SettingsDefaults::setBoolean(std::string_view key, bool value) {
    const std::lock_guard lock(mutex_);
    const QString name = QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
    // The notifier clears its flags on every status read: writing only what moved keeps an idle app off the
    // disk.
    if (settings_->contains(name) && settings_->value(name).toBool() == value) return;
    settings_->setValue(name, value);
    settings_->sync();
}

DesktopNotifier::DesktopNotifier(DefaultsStore& defaults, NoticePoster poster, SystemLock lock,
                                 QObject* parent)
    : QObject(parent), notifier_(defaults, std::move(poster), lock) {}

void DesktopNotifier::statusRefreshed(const QVariant& gateVerified, bool systemLocked) {
    notifier_.limitState(gateVerified.isValid() ? std::optional(gateVerified.toBool()) : std::nullopt);
    notifier_.systemLocked(systemLocked);
}

void DesktopNotifier::historyReady(const QString& summary) {
    notifier_.historyReady(summary.toStdString());
}

namespace {

NoticePoster notifyOn(QDBusConnection bus, QObject* context, QVariantMap hints, int expireMs) {
    return [bus, guard = QPointer<QObject>(context), hints, expireMs](
               const std::string& title, const std::string& body, std::function<void(bool)> completion) {
        if (!guard || !bus.isConnected()) return completion(false);
        QDBusMessage notify = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
        notify << QStringLiteral("Torvel") << 0u << QStringLiteral("torvel") << QString::fromStdString(title)
               << QString::fromStdString(body) << QStringList{} << hints << expireMs;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(notify), guard.data());
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [watcher, completion](QDBusPendingCallWatcher*) {
                             watcher->deleteLater();
                             completion(!watcher->isError());
                         });
    };
}

}  // namespace

NoticePoster DesktopNotifier::sessionBus(QDBusConnection bus, QObject* context) {
    return notifyOn(std::move(bus), context, {}, -1);
}

NoticePoster DesktopNotifier::transientSessionBus(QDBusConnection bus, QObject* context, int expireMs) {
    const QVariantMap hints{{QStringLiteral("transient"), true},
                            {QStringLiteral("suppress-sound"), true},
                            {QStringLiteral("urgency"), QVariant::fromValue(uchar(0))},
                            {QStringLiteral("desktop-entry"), QStringLiteral("torvel")}};
    return notifyOn(std::move(bus), context, hints, expireMs);
}

}  // namespace torvel::app
