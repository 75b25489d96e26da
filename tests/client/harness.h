#pragma once

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

#include "service_client.h"

namespace torvel::client::testing {

// A dbus-daemon of our own, so that no test touches the machine's buses. QtDBus delivers replies through
// the event loop, so it also makes the application object the tests need for their whole run.
class PrivateBus {
  public:
    PrivateBus() {
        static int argc = 1;
        static char name[] = "client_tests";
        static char* argv[] = {name, nullptr};
        if (QCoreApplication::instance() == nullptr) new QCoreApplication(argc, argv);
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        if (daemon_.waitForStarted(5000) && daemon_.waitForReadyRead(5000)) {
            address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
        }
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished(5000);
    }
    const QString& address() const { return address_; }

    // A connection under a name unique to the whole process: QtDBus hands back an existing connection,
    // perhaps to an earlier bus, for a name it knows.
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

// Stands in for the charge service at its bus name and path, answering every method the same chosen way.
class FakeService : public QDBusVirtualObject {
  public:
    struct Answer {
        enum Kind { reply, silent, late } kind = reply;
        bool ok = true;
        QString message{};
        int lateMilliseconds = 0;
    };

    FakeService(QDBusConnection bus, Answer answer) : bus_(std::move(bus)), answer_(std::move(answer)) {
        bus_.registerVirtualObject(objectPath, this);
        bus_.registerService(serviceName);
    }
    ~FakeService() override { leave(); }

    // Drops off the bus, as a service that crashes would, leaving its callers without an answer.
    void leave() {
        if (!bus_.isConnected()) return;
        bus_.unregisterObject(objectPath);
        bus_.unregisterService(serviceName);
        QDBusConnection::disconnectFromBus(bus_.name());
        bus_ = QDBusConnection(QString());
    }

    std::vector<QDBusMessage> received() const {
        const std::lock_guard lock(mutex_);
        return received_;
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != interfaceName) return false;
        {
            // QtDBus may hand virtual objects their calls on its own thread.
            const std::lock_guard lock(mutex_);
            received_.push_back(message);
        }
        const QDBusMessage answer = message.createReply(QList<QVariant>{answer_.ok, answer_.message});
        if (answer_.kind == Answer::reply) QDBusConnection(connection).send(answer);
        if (answer_.kind == Answer::late) {
            QTimer::singleShot(answer_.lateMilliseconds,
                               [connection, answer] { QDBusConnection(connection).send(answer); });
        }
        return true;
    }

  private:
    QDBusConnection bus_;
    Answer answer_;
    mutable std::mutex mutex_;
    std::vector<QDBusMessage> received_;
};

}  // namespace torvel::client::testing
