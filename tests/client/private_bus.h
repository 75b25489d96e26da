#pragma once

#include <QCoreApplication>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QProcess>
#include <QString>
#include <chrono>
#include <functional>

namespace torvel::client::testing {

// QtDBus delivers replies through the event loop, so the tests need an application object for their
// whole run.
inline void ensureApplication() {
    static int argc = 1;
    static char name[] = "client_tests";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() == nullptr) new QCoreApplication(argc, argv);
}

// A dbus-daemon of our own, so that no test touches the machine's buses.
class PrivateBus {
  public:
    PrivateBus() {
        ensureApplication();
        daemon_.setProgram("dbus-daemon");
        daemon_.setArguments({"--session", "--nofork", "--print-address"});
        daemon_.start();
        if (daemon_.waitForStarted(5000) && daemon_.waitForReadyRead(5000)) {
            address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
        }
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished(5000);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const QString& address() const { return address_; }

    // A connection of its own under a fresh name; each side of a test gets one. Names are unique for the
    // whole process, as QtDBus hands back an existing connection (perhaps to an earlier bus) for a known
    // name.
    QDBusConnection connect(const QString& role) {
        static int connections = 0;
        return QDBusConnection::connectToBus(address_, role + QString::number(++connections));
    }

  private:
    QProcess daemon_;
    QString address_;
};

// Runs the event loop until `done` holds or the time is up; returns whether it held.
inline bool spinUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > limit.count()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// Runs the event loop for a while, letting anything late arrive.
inline void spinFor(std::chrono::milliseconds duration) {
    spinUntil([] { return false; }, duration);
}

}  // namespace torvel::client::testing
