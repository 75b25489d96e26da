#pragma once

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QProcessEnvironment>

#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app::testing {

// A python-dbusmock server on the test's bus, from a template or as a bare object the test gives methods to,
// driven through its org.freedesktop.DBus.Mock interface.
class DbusMock {
  public:
    DbusMock(const PrivateBus& bus, const QString& name, const QString& path, const QStringList& arguments)
        : bus_(bus.connect(QStringLiteral("mock"))), name_(name), path_(path) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
        server_.setProcessEnvironment(environment);
        server_.start(QStringLiteral("/usr/bin/python3"), QStringList{"-m", "dbusmock"} + arguments);
        spinUntil([this] { return bus_.interface()->isServiceRegistered(name_).value(); });
    }
    ~DbusMock() {
        server_.kill();
        server_.waitForFinished(5000);
    }

    QDBusMessage call(const QString& method, const QVariantList& arguments) const {
        auto message =
            QDBusMessage::createMethodCall(name_, path_, QStringLiteral("org.freedesktop.DBus.Mock"), method);
        message.setArguments(arguments);
        return bus_.call(message);
    }
    void emitSignal(const QString& interface, const QString& name, const QString& signature,
                    const QVariantList& arguments) const {
        call(QStringLiteral("EmitSignal"), {interface, name, signature, arguments});
    }

  private:
    QDBusConnection bus_;
    QString name_;
    QString path_;
    QProcess server_;
};

}  // namespace torvel::app::testing
