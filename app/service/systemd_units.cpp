#include "service/systemd_units.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStringList>

namespace torvel::app {

namespace {
constexpr const char* systemdService = "org.freedesktop.systemd1";
constexpr const char* systemdPath = "/org/freedesktop/systemd1";
constexpr const char* managerInterface = "org.freedesktop.systemd1.Manager";
// Reading the unit's state happens on the main thread on every watched poll; systemd answers in
// milliseconds, and a hung manager must not freeze the panel for the default 25 s.
constexpr int statusTimeoutMs = 1500;
// Switching may wait on the user typing a password.
constexpr int changeTimeoutMs = 5 * 60 * 1000;
}  // namespace

SystemdUnits::SystemdUnits(QDBusConnection bus, std::optional<QString> fixedState, QObject* parent)
    : QObject(parent), bus_(std::move(bus)), fixedState_(std::move(fixedState)) {}

QDBusMessage SystemdUnits::managerCall(const char* method) const {
    return QDBusMessage::createMethodCall(systemdService, systemdPath, managerInterface, method);
}

ServiceRegistration::Status SystemdUnits::statusFromUnitFileState(const QString& state) {
    if (state == u"enabled" || state == u"enabled-runtime") {
        return ServiceRegistration::Status::enabled;
    }
    return ServiceRegistration::Status::notRegistered;
}

RegistrationError SystemdUnits::errorFrom(const QString& errorName, const QString& message) {
    const bool missing = errorName == u"org.freedesktop.systemd1.NoSuchUnit" ||
                         errorName == u"org.freedesktop.DBus.Error.FileNotFound";
    QString text = message.isEmpty() ? errorName : message;
    return {missing ? 2 : 0, text.toStdString()};
}

ServiceRegistration::Status SystemdUnits::status() {
    if (fixedState_) return statusFromUnitFileState(*fixedState_);
    QDBusMessage call = managerCall("GetUnitFileState");
    call << QString::fromLatin1(unitName);
    const QDBusMessage reply = bus_.call(call, QDBus::Block, statusTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return ServiceRegistration::Status::notFound;
    }
    return statusFromUnitFileState(reply.arguments().constFirst().toString());
}

void SystemdUnits::whenFinished(const QDBusPendingCall& call, std::function<void(const QDBusMessage&)> then) {
    auto* watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [watcher, then = std::move(then)](QDBusPendingCallWatcher*) {
                watcher->deleteLater();
                then(watcher->reply());
            });
}

void SystemdUnits::chain(const QDBusMessage& first, const QDBusMessage& second, Done done) {
    auto failed = [](const QDBusMessage& reply) { return reply.type() == QDBusMessage::ErrorMessage; };
    whenFinished(
        bus_.asyncCall(first, changeTimeoutMs), [this, second, done, failed](const QDBusMessage& r1) {
            if (failed(r1)) return done(errorFrom(r1.errorName(), r1.errorMessage()));
            whenFinished(bus_.asyncCall(second, changeTimeoutMs), [done, failed](const QDBusMessage& r2) {
                if (failed(r2)) return done(errorFrom(r2.errorName(), r2.errorMessage()));
                done(std::nullopt);
            });
        });
}

void SystemdUnits::enableAndStart(Done done) {
    if (fixedState_) return done(RegistrationError{0, "The charge service is not run by systemd here."});
    const QString unit = QString::fromLatin1(unitName);
    QDBusMessage enable = managerCall("EnableUnitFiles");
    enable << QStringList{unit} << false << true;
    enable.setInteractiveAuthorizationAllowed(true);
    QDBusMessage start = managerCall("StartUnit");
    start << unit << QStringLiteral("replace");
    start.setInteractiveAuthorizationAllowed(true);
    chain(enable, start, std::move(done));
}

void SystemdUnits::disableAndStop(Done done) {
    if (fixedState_) return done(RegistrationError{0, "The charge service is not run by systemd here."});
    const QString unit = QString::fromLatin1(unitName);
    QDBusMessage disable = managerCall("DisableUnitFiles");
    disable << QStringList{unit} << false;
    disable.setInteractiveAuthorizationAllowed(true);
    QDBusMessage stop = managerCall("StopUnit");
    stop << unit << QStringLiteral("replace");
    stop.setInteractiveAuthorizationAllowed(true);
    chain(disable, stop, std::move(done));
}

}  // namespace torvel::app
