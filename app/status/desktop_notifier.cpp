#include "status/desktop_notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
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

NoticeActions::NoticeActions(QDBusConnection bus, QObject* parent) : QObject(parent) {
    const QString path = QStringLiteral("/org/freedesktop/Notifications");
    const QString interface = QStringLiteral("org.freedesktop.Notifications");
    bus.connect({}, path, interface, QStringLiteral("ActionInvoked"), this,
                SLOT(actionInvoked(uint, QString)));
    bus.connect({}, path, interface, QStringLiteral("NotificationClosed"), this, SLOT(closed(uint, uint)));
}

void NoticeActions::posted(uint id, const QString& section) {
    sections_.insert(id, section);
}

void NoticeActions::actionInvoked(uint id, const QString& action) {
    // Ids are the server's, shared by every program: one not ours is not ours to follow.
    const auto found = sections_.constFind(id);
    if (found == sections_.constEnd() || action != u"default") return;
    emit sectionRequested(*found);
}

void NoticeActions::closed(uint id, uint) {
    sections_.remove(id);
}

namespace {

NoticePoster notifyOn(QDBusConnection bus, QPointer<NoticeActions> actions, QObject* context,
                      QVariantMap hints, int expireMs) {
    hints.insert(QStringLiteral("desktop-entry"), QString::fromLatin1(DesktopNotifier::desktopEntry));
    return [bus, actions, guard = QPointer<QObject>(context), hints, expireMs](
               const std::string& title, const std::string& body, const std::string& opens,
               std::function<void(bool)> completion) {
        if (!guard || !bus.isConnected()) return completion(false);
        const QString section = QString::fromStdString(opens);
        QStringList buttons;
        if (actions && !section.isEmpty()) {
            buttons << QStringLiteral("default") << QString::fromStdString(torvel::tr(Notifier::openAction));
        }
        QDBusMessage notify = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
        notify << QStringLiteral("Torvel") << 0u << QString::fromLatin1(DesktopNotifier::desktopEntry)
               << QString::fromStdString(title) << QString::fromStdString(body) << buttons << hints
               << expireMs;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(notify), guard.data());
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [watcher, completion, actions, section](QDBusPendingCallWatcher*) {
                             watcher->deleteLater();
                             const QDBusPendingReply<uint> reply = *watcher;
                             if (!reply.isError() && actions && !section.isEmpty())
                                 actions->posted(reply.value(), section);
                             completion(!reply.isError());
                         });
    };
}

}  // namespace

NoticePoster DesktopNotifier::sessionBus(QDBusConnection bus, NoticeActions* actions) {
    return notifyOn(std::move(bus), actions, actions, {}, -1);
}

NoticePoster DesktopNotifier::transientSessionBus(QDBusConnection bus, QObject* context, int expireMs) {
    const QVariantMap hints{{QStringLiteral("transient"), true},
                            {QStringLiteral("suppress-sound"), true},
                            {QStringLiteral("urgency"), QVariant::fromValue(uchar(0))}};
    return notifyOn(std::move(bus), nullptr, context, hints, expireMs);
}

}  // namespace torvel::app
