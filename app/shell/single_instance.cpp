#include "shell/single_instance.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace torvel::app {

SingleInstance::SingleInstance(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {}

SingleInstance::Outcome SingleInstance::claim(const QStringList& switches) {
    if (!bus_.isConnected()) return Outcome::alone;
    const QString name = QString::fromLatin1(serviceName);
    // The object goes up before the name: a launch that finds the name must find someone answering behind it.
    bus_.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportScriptableSlots);
    QDBusConnectionInterface* busInterface = bus_.interface();
    if (!busInterface) return Outcome::alone;
    const auto reply = busInterface->registerService(name, QDBusConnectionInterface::DontQueueService,
                                                     QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Outcome::first;
    bus_.unregisterObject(QString::fromLatin1(objectPath));

    QDBusMessage activate =
        QDBusMessage::createMethodCall(name, QString::fromLatin1(objectPath),
                                       QStringLiteral("com.torvel.Torvel1"), QStringLiteral("Activate"));
    activate << switches;
    // Events still run while waiting, so a copy in this same process (as in the tests) can answer.
    const QDBusMessage answer = bus_.call(activate, QDBus::BlockWithGui, 10000);
    return answer.type() == QDBusMessage::ReplyMessage ? Outcome::handedOver : Outcome::alone;
}

void SingleInstance::onActivate(std::function<void(const QStringList&)> handler) {
    handler_ = std::move(handler);
    const auto waiting = std::exchange(pending_, {});
    for (const auto& switches : waiting) handler_(switches);
}

void SingleInstance::Activate(const QStringList& switches) {
    if (handler_)
        handler_(switches);
    else
        pending_ << switches;
}

}  // namespace torvel::app
