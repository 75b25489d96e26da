#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <memory>
#include <mutex>

#include "status/notifier.h"

namespace torvel::app {

// The user defaults in ~/.config/Torvel/Torvel.conf. Completions may come from any thread, hence the lock.
class SettingsDefaults : public DefaultsStore {
  public:
    // Without a file name, the app's own settings file.
    explicit SettingsDefaults(const QString& fileName = {});
    bool boolean(std::string_view key) const override;
    void setBoolean(std::string_view key, bool value) override;

  private:
    mutable std::mutex mutex_;
    std::unique_ptr<QSettings> settings_;
};

// The notices the server still shows and the section each opens: a click on one (its default action) asks
// for that section.
class NoticeActions : public QObject {
    Q_OBJECT

  public:
    explicit NoticeActions(QDBusConnection bus, QObject* parent = nullptr);
    void posted(uint id, const QString& section);

  signals:
    void sectionRequested(const QString& section);

  private slots:
    void actionInvoked(uint id, const QString& action);
    void closed(uint id, uint reason);

  private:
    QHash<uint, QString> sections_;
};

// Posts the app's notices through org.freedesktop.Notifications; core decides when.
class DesktopNotifier : public QObject {
    Q_OBJECT

  public:
    // The app id: the server finds the app's name, icon and per-app settings through its desktop entry.
    static constexpr const char* desktopEntry = "com.torvel.Torvel";

    DesktopNotifier(DefaultsStore& defaults, NoticePoster poster, SystemLock lock, QObject* parent = nullptr);

    // A notification server that is missing or answers with an error counts as a refusal. A notice that
    // opens a section carries the default action, which `actions` follows.
    static NoticePoster sessionBus(QDBusConnection bus, NoticeActions* actions);
    // A notice that makes no sound, leaves nothing in the notification history and goes after `expireMs`:
    // the charge arrival where the overlay cannot be placed.
    static NoticePoster transientSessionBus(QDBusConnection bus, QObject* context, int expireMs);

  public slots:
    // Connected to ChargeSettingsModel::statusRefreshed.
    void statusRefreshed(const QVariant& gateVerified, bool systemLocked);
    void historyReady(const QString& summary);

  private:
    Notifier notifier_;
};

}  // namespace torvel::app
