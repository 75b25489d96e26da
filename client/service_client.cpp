#include "service_client.h"

#include <systemd/sd-bus.h>

#include "bus.h"
#include "common/files.h"
#include "reply_text.h"
#include "service/bus_address.h"
#include "service/save_ledger.h"

namespace torvel::client {

ServiceClient::ServiceClient(Bus& bus, std::filesystem::path config)
    : bus_(bus), config_(std::move(config)) {}

void ServiceClient::call(const char* method, const std::string* argument, std::string_view failureText,
                         Timeout timeout, Completion done) {
    const auto appendArgument = [argument](sd_bus_message* message) {
        return argument == nullptr ? 0 : sd_bus_message_append(message, "s", argument->c_str());
    };
    // The service shows polkit's password prompt only to a caller that says it can wait for one; the app
    // and torvelctl are run by a person who can answer it.
    bus_.call({bus::serviceName, bus::objectPath, bus::interfaceName, method, true}, appendArgument, timeout,
              [alive = std::weak_ptr(alive_), failure = std::string(failureText), done = std::move(done)](
                  sd_bus_message* reply, const sd_bus_error* error) {
                  if (alive.expired()) return;
                  if (error != nullptr) {
                      done(errorText(error->name != nullptr ? error->name : "",
                                     error->message != nullptr ? error->message : ""));
                  } else {
                      done(replyResult(reply, failure));
                  }
              });
}

void ServiceClient::apply(const Settings& settings, const SettingsExtra& extra, ApplyCompletion done,
                          Timeout timeout) {
    const std::string message = settingsMessage(settings, extra);
    const auto appendMessage = [&message](sd_bus_message* call) {
        return sd_bus_message_append(call, "s", message.c_str());
    };
    bus_.call({bus::serviceName, bus::objectPath, bus::interfaceName, "ApplySettings", true}, appendMessage,
              timeout,
              [alive = std::weak_ptr(alive_), message, config = config_, done = std::move(done)](
                  sd_bus_message* reply, const sd_bus_error* failure) {
                  if (alive.expired()) return;
                  const Result callError =
                      failure != nullptr ? errorText(failure->name != nullptr ? failure->name : "",
                                                     failure->message != nullptr ? failure->message : "")
                                         : replyResult(reply, texts::refusedChange);
                  const Result error =
                      settleApply(callError, [&] { return !writeWholeFile(config, message); });
                  done(Applied{.error = error,
                               .serviceError = error ? std::nullopt : callError,
                               .note = failure != nullptr ? std::nullopt : replyMessage(reply)});
              });
}

void ServiceClient::purgeAllData(Completion done, Timeout timeout) {
    call("PurgeAllData", nullptr, texts::couldNotRemoveData, timeout, std::move(done));
}

void ServiceClient::releaseCharge(Completion done, Timeout timeout) {
    call("ReleaseCharge", nullptr, texts::unreachable, timeout, std::move(done));
}

void ServiceClient::restart(Completion done, Timeout timeout) {
    call("Restart", nullptr, texts::didNotRestart, timeout, std::move(done));
}

}  // namespace torvel::client
