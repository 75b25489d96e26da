#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QTimer>
#include <mutex>
#include <optional>
#include <vector>

#include "service_client.h"

namespace torvel::client::testing {

// Stands in for the charge service at its bus name and path, answering every method the same chosen way.
class FakeService : public QDBusVirtualObject {
  public:
    struct Answer {
        enum Kind { reply, silent, lateReply };
        Kind kind = reply;
        bool ok = true;
        QString message{};
        int lateMilliseconds = 0;

        static Answer replying(bool ok, QString message = {}) { return {reply, ok, std::move(message), 0}; }
        static Answer silence() { return {silent, true, {}, 0}; }
        static Answer late(bool ok, int milliseconds) { return {lateReply, ok, {}, milliseconds}; }
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

    struct Received {
        QString method;
        QList<QVariant> arguments;
    };
    std::vector<Received> received() const {
        const std::lock_guard lock(mutex_);
        return received_;
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != interfaceName) return false;
        {
            // QtDBus may hand virtual objects their calls on its own thread.
            const std::lock_guard lock(mutex_);
            received_.push_back({message.member(), message.arguments()});
        }
        const QDBusMessage answer = message.createReply(QList<QVariant>{answer_.ok, answer_.message});
        switch (answer_.kind) {
            case Answer::silent:
                break;
            case Answer::lateReply:
                QTimer::singleShot(answer_.lateMilliseconds,
                                   [connection, answer] { QDBusConnection(connection).send(answer); });
                break;
            case Answer::reply:
                QDBusConnection(connection).send(answer);
                break;
        }
        return true;
    }

  private:
    QDBusConnection bus_;
    Answer answer_;
    mutable std::mutex mutex_;
    std::vector<Received> received_;
};

}  // namespace torvel::client::testing
