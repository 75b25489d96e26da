#include "service_client.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <memory>

#include "common/files.h"
#include "reply_text.h"
#include "resumer.h"
#include "service/save_ledger.h"

namespace torvel::client {
namespace {

// libdbus reads INT_MAX as "no time-out"; its own default of 25 s would end calls the service may still
// answer (a polkit prompt waits on a person).
constexpr int unlimited = std::numeric_limits<int>::max();

QDBusMessage methodCall(const char* method) {
    return QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, method);
}

}  // namespace

ServiceClient::ServiceClient(QObject* parent) : ServiceClient(QDBusConnection::systemBus(), parent) {}

ServiceClient::ServiceClient(QDBusConnection bus, QObject* parent) : QObject(parent), bus_(std::move(bus)) {}

void ServiceClient::call(const QDBusMessage& message, std::string_view failureText, Timeout timeout,
                         Completion done) {
    auto resumer = std::make_shared<Resumer<Result>>(std::move(done));

    // The bus keeps the call a little longer than we wait, so that it is cleaned up even when the service
    // never answers, yet our own timer always speaks first.
    const int busTimeout =
        timeout
            ? static_cast<int>(std::min<std::chrono::milliseconds::rep>(timeout->count() + 1000, unlimited))
            : unlimited;
    // Callers are never resumed before this function returns, whatever happens: they may still be setting
    // up around the call.
    if (!bus_.isConnected()) {
        QTimer::singleShot(0, this, [resumer] { resumer->finish(std::string(texts::unreachable)); });
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message, busTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [resumer, failure = std::string(failureText)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                resumer->finish(replyResult(finished->reply(), failure));
            });

    if (timeout) {
        QTimer::singleShot(*timeout, Qt::PreciseTimer, watcher, [resumer] {
            // The watcher stays until the bus gives up on the call; whatever it brings then finds nobody.
            resumer->finish(std::string(texts::stoppedResponding));
        });
    }
}

void ServiceClient::apply(const Settings& settings, const SettingsExtra& extra,
                          const std::filesystem::path& config, ApplyCompletion done, Timeout timeout) {
    auto message = std::make_shared<const std::string>(settingsMessage(settings, extra));
    QDBusMessage request = methodCall("ApplySettings");
    request << QString::fromStdString(*message);
    call(request, texts::refusedChange, timeout,
         [message, config, done = std::move(done)](const Result& callError) {
             const Result error = settleApply(callError, [&] { return !writeWholeFile(config, *message); });
             done(Applied{.error = error, .serviceError = error ? std::nullopt : callError});
         });
}

void ServiceClient::purgeAllData(Completion done, Timeout timeout) {
    call(methodCall("PurgeAllData"), texts::couldNotRemoveData, timeout, std::move(done));
}

void ServiceClient::releaseCharge(Completion done, Timeout timeout) {
    call(methodCall("ReleaseCharge"), texts::unreachable, timeout, std::move(done));
}

void ServiceClient::restart(Completion done, Timeout timeout) {
    call(methodCall("Restart"), texts::didNotRestart, timeout, std::move(done));
}

}  // namespace torvel::client
