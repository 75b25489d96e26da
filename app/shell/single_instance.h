#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <functional>

namespace torvel::app {

// One copy of the app per session: the first to take the app id's name on the session bus keeps it; a later
// launch hands its switches to that copy and leaves. Without a session bus every launch runs on its own, as
// before.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.torvel.Torvel1")

  public:
    static constexpr const char* serviceName = "com.torvel.Torvel";
    static constexpr const char* objectPath = "/com/torvel/Torvel";

    enum class Outcome { first, handedOver, alone };

    explicit SingleInstance(QDBusConnection bus, QObject* parent = nullptr);

    // Takes the name, or hands `switches` to the copy holding it. A copy holding it that does not answer
    // leaves this one to run alone rather than to vanish without a word.
    Outcome claim(const QStringList& switches);
    // Where a later launch's switches go; those that arrived before are delivered at once.
    void onActivate(std::function<void(const QStringList&)> handler);

  public slots:
    Q_SCRIPTABLE void Activate(const QStringList& switches);

  private:
    QDBusConnection bus_;
    std::function<void(const QStringList&)> handler_;
    QList<QStringList> pending_;
};

}  // namespace torvel::app
