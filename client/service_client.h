#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "service/settings.h"

namespace torvel::client {

class Bus;

// The calls the app and torvelctl make to the running charge service. Every one ends exactly once, from the
// loop that drives the bus (the main thread), with an optional text: none means done, otherwise one
// sentence to show the user as it is. The bus client implements it; the app's tests answer by hand.
class ServiceCalls {
  public:
    using Result = std::optional<std::string>;
    using Completion = std::function<void(const Result&)>;
    // None waits as long as the service keeps the call open.
    using Timeout = std::optional<std::chrono::milliseconds>;

    struct Applied {
        Result error;  // none: the settings are saved, by the service or in config.json
        // Why the service did not take them, when config.json was written directly instead.
        Result serviceError;
        // What the service said of them when it answered with words: a limit the battery holds at another
        // value, or did not take.
        Result note = std::nullopt;
    };
    using ApplyCompletion = std::function<void(const Applied&)>;

    virtual ~ServiceCalls() = default;

    // Sends the settings merged with `extra`. When the service cannot take them they are written to
    // config.json directly, which counts as saved; when that write fails too, the service's error stands.
    virtual void apply(const Settings& settings, const SettingsExtra& extra, ApplyCompletion done,
                       Timeout timeout) = 0;
    virtual void purgeAllData(Completion done, Timeout timeout) = 0;
    virtual void releaseCharge(Completion done, Timeout timeout) = 0;
    virtual void restart(Completion done, Timeout timeout) = 0;
};

// ServiceCalls over D-Bus. A call still pending when the client is destroyed never ends.
class ServiceClient : public ServiceCalls {
  public:
    // When the service is being removed, a release must not hold the removal up for long.
    static constexpr std::chrono::milliseconds removalTimeout{3000};

    // `config` is where apply writes the settings when the service cannot take them.
    ServiceClient(Bus& bus, std::filesystem::path config);

    void apply(const Settings& settings, const SettingsExtra& extra, ApplyCompletion done,
               Timeout timeout = std::nullopt) override;
    void purgeAllData(Completion done, Timeout timeout = std::nullopt) override;
    void releaseCharge(Completion done, Timeout timeout = std::nullopt) override;
    void restart(Completion done, Timeout timeout = std::nullopt) override;

  private:
    void call(const char* method, const std::string* argument, std::string_view failureText, Timeout timeout,
              Completion done);

    Bus& bus_;
    std::filesystem::path config_;
    // Replies check this before they speak: a client that is gone has nobody left to tell.
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace torvel::client
