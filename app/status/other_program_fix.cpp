#include "status/other_program_fix.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QRegularExpression>

#include "service/charge_settings_model.h"

namespace torvel::app {

namespace {

const QString upowerService = QStringLiteral("org.freedesktop.UPower");
const QString deviceInterface = QStringLiteral("org.freedesktop.UPower.Device");
// Long enough for the user to answer polkit's password prompt.
constexpr int promptTimeoutMs = 120'000;

// Turns the threshold off on devices[index] and on, one after the other, stopping at the first failure.
void turnOffFrom(QDBusConnection bus, QStringList devices, qsizetype index,
                 std::function<void(const QString&)> done) {
    if (index >= devices.size()) return done(QString());
    QDBusMessage call = QDBusMessage::createMethodCall(upowerService, devices[index], deviceInterface,
                                                       QStringLiteral("EnableChargeThreshold"));
    call << false;
    call.setInteractiveAuthorizationAllowed(true);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, promptTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, bus, devices = std::move(devices), index, done = std::move(done)] {
                         watcher->deleteLater();
                         const QDBusPendingReply<> reply = *watcher;
                         if (reply.isError()) {
                             const QString detail = reply.error().message();
                             return done(detail.isEmpty() ? reply.error().name() : detail);
                         }
                         turnOffFrom(bus, devices, index + 1, done);
                     });
}

}  // namespace

OtherProgramFix::OtherProgramFix(ChargeSettingsModel& settings, TurnOff turnOff, QObject* parent)
    : QObject(parent), settings_(settings), turnOff_(turnOff ? std::move(turnOff) : upowerOnSystemBus()) {}

QStringList OtherProgramFix::upowerDevices(const PublishedStatus& status) {
    QStringList devices;
    for (const auto& battery : status.batteries) {
        // UPower names its device objects after the kernel's supply; anything else is no path of its.
        const QString name = QString::fromStdString(battery.name);
        if (name.isEmpty() || name.contains(QRegularExpression(QStringLiteral("[^A-Za-z0-9_]")))) continue;
        devices << QStringLiteral("/org/freedesktop/UPower/devices/battery_") + name;
    }
    return devices;
}

OtherProgramFix::TurnOff OtherProgramFix::upowerOnSystemBus() {
    return [](const QStringList& devices, std::function<void(const QString&)> done) {
        QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected()) return done(bus.lastError().message());
        turnOffFrom(bus, devices, 0, std::move(done));
    };
}

void OtherProgramFix::run(OtherProgramNote::Action action) {
    if (busy_ || action == OtherProgramNote::Action::none) return;
    error_.clear();
    if (action == OtherProgramNote::Action::sendSettingsAgain) {
        settings_.save();
        emit changed();
        return;
    }
    const QStringList devices = upowerDevices(settings_.value().status.published);
    busy_ = true;
    emit changed();
    // The settings model outlives the pages; the guard keeps a late answer from reaching a page gone.
    turnOff_(devices, [this, alive = std::weak_ptr<bool>(alive_)](const QString& failure) {
        if (alive.expired()) return;
        busy_ = false;
        if (failure.isEmpty()) {
            settings_.save();
        } else {
            error_ = QString::fromStdString(OtherProgramNote::upowerFailed(failure.toStdString()));
        }
        emit changed();
    });
}

void OtherProgramFix::clearError() {
    if (error_.isEmpty()) return;
    error_.clear();
    emit changed();
}

}  // namespace torvel::app
