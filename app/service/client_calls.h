#pragma once

#include "service/service_calls.h"
#include "service_client.h"

namespace torvel::app {

// The models' service calls over the one bus client, with the settings written to config.json when the
// service cannot take them.
class ClientCalls : public ServiceCalls {
  public:
    ClientCalls(client::ServiceClient& client, std::filesystem::path config);

    void apply(const Settings& settings, const SettingsExtra& extra, Completion done) override;
    void purgeAllData(Completion done) override;
    void releaseCharge(Timeout timeout, Completion done) override;
    void restart(Completion done) override;

  private:
    client::ServiceClient& client_;
    std::filesystem::path config_;
};

}  // namespace torvel::app
