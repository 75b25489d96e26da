#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <optional>

#include "service/unit_control.h"

class QDBusMessage;
class QDBusPendingCall;

namespace torvel::app {

// torvel-daemon.service through systemd's manager on the system bus. Changes are sent with interactive
// authorisation allowed, so polkit shows the desktop's password prompt instead of refusing outright.
class SystemdUnits : public QObject, public UnitControl {
    Q_OBJECT

  public:
    static constexpr const char* unitName = "torvel-daemon.service";

    // `fixedState` stands in for the unit file's state when the service runs outside systemd (the demo and
    // end-to-end runs, on a private bus); changes are then refused.
    explicit SystemdUnits(QDBusConnection bus, std::optional<QString> fixedState = std::nullopt,
                          QObject* parent = nullptr);

    ServiceRegistration::Status status() override;
    void enableAndStart(Done done) override;
    void disableAndStop(Done done) override;

    // "enabled" is registered; a unit that exists but is not enabled is not registered.
    static ServiceRegistration::Status statusFromUnitFileState(const QString& state);
    static RegistrationError errorFrom(const QString& errorName, const QString& message);

  private:
    QDBusMessage managerCall(const char* method) const;
    // Sends `first`; when it succeeds sends `second`; `done` hears the first failure or success.
    void chain(const QDBusMessage& first, const QDBusMessage& second, Done done);
    void whenFinished(const QDBusPendingCall& call, std::function<void(const QDBusMessage&)> then);

    QDBusConnection bus_;
    std::optional<QString> fixedState_;
};

}  // namespace torvel::app
