#include "service/client_calls.h"

namespace torvel::app {

ClientCalls::ClientCalls(client::ServiceClient& client, std::filesystem::path config)
    : client_(client), config_(std::move(config)) {}

void ClientCalls::apply(const Settings& settings, const SettingsExtra& extra, Completion done) {
    client_.apply(
        settings, extra, config_,
        [done = std::move(done)](const client::ServiceClient::Applied& applied) { done(applied.error); });
}

void ClientCalls::purgeAllData(Completion done) {
    client_.purgeAllData(std::move(done));
}

void ClientCalls::releaseCharge(Timeout timeout, Completion done) {
    client_.releaseCharge(std::move(done), timeout);
}

void ClientCalls::restart(Completion done) {
    client_.restart(std::move(done));
}

}  // namespace torvel::app
