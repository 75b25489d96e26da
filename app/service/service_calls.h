#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "service/settings.h"

namespace torvel::app {

// The four calls the models make to the running charge service. Each ends exactly once, on the main thread,
// with none for done or one sentence for the user. The bus client implements it; tests answer by hand.
class ServiceCalls {
  public:
    using Result = std::optional<std::string>;
    using Completion = std::function<void(const Result&)>;
    using Timeout = std::optional<std::chrono::milliseconds>;

    virtual ~ServiceCalls() = default;

    // When the service cannot take the settings, they are written to config.json instead, which counts as
    // saved; only when that fails too does the service's error come back.
    virtual void apply(const Settings& settings, const SettingsExtra& extra, Completion done) = 0;
    virtual void purgeAllData(Completion done) = 0;
    virtual void releaseCharge(Timeout timeout, Completion done) = 0;
    virtual void restart(Completion done) = 0;
};

}  // namespace torvel::app
