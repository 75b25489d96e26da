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
    settings_->setValue(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())), value);
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

NoticePoster DesktopNotifier::sessionBus(QDBusConnection bus, QObject* context) {
    return [bus, guard = QPointer<QObject>(context)](const std::string& title, const std::string& body,
                                                     std::function<void(bool)> completion) {
        if (!guard || !bus.isConnected()) return completion(false);
        QDBusMessage notify = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
        notify << QStringLiteral("Torvel") << 0u << QStringLiteral("torvel") << QString::fromStdString(title)
               << QString::fromStdString(body) << QStringList{} << QVariantMap{} << -1;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(notify), guard.data());
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [watcher, completion](QDBusPendingCallWatcher*) {
                             watcher->deleteLater();
                             completion(!watcher->isError());
                         });
    };
}

}  // namespace torvel::app
