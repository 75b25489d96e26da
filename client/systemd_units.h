#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "service/service_state.h"

namespace torvel::client {

class Bus;

// A refusal from the service manager: `code` 2 when the unit is missing from this installation, 0 for
// anything else, whose words are the system's own.
struct RegistrationError {
    long code = 0;
    std::string description;
};

// The service manager's side of registration: the unit's state, and switching it on and off. The system may
// ask the user for a password before it answers.
class UnitControl {
  public:
    using Done = std::function<void(const std::optional<RegistrationError>&)>;

    virtual ~UnitControl() = default;

    virtual ServiceRegistration::Status status() = 0;
    virtual void enableAndStart(Done done) = 0;
    virtual void disableAndStop(Done done) = 0;
};

// The service's unit files under the machine root `root` ("/" outside tests): the install helper's in
// /etc/systemd/system and the package's. Enable links are not units of their own and are ignored.
UnitFiles readUnitFiles(const std::filesystem::path& root);

// torvel-daemon.service through systemd's manager. Changes are sent with interactive authorisation allowed,
// so polkit shows the desktop's password prompt instead of refusing outright.
class SystemdUnits : public UnitControl {
  public:
    // The state is read on the app's main thread on every watched poll, and by torvelctl before it prints:
    // systemd answers in milliseconds, and a hung manager must freeze neither for long.
    static constexpr std::chrono::milliseconds stateTimeout{1500};

    // `fixedState` stands in for the unit file's state when the service runs outside systemd (the demo and
    // end-to-end runs, on a private bus); changes are then refused.
    explicit SystemdUnits(Bus& bus, std::optional<std::string> fixedState = std::nullopt);

    // The unit file state systemd reports ("enabled", "disabled", ...), or absent when the bus or systemd
    // cannot be reached or knows no such unit.
    std::optional<std::string> unitFileState();

    ServiceRegistration::Status status() override;
    void enableAndStart(Done done) override;
    void disableAndStop(Done done) override;

    // "enabled" is registered; a unit that exists but is not enabled is not registered.
    static ServiceRegistration::Status statusFromUnitFileState(std::string_view state);
    static RegistrationError errorFrom(std::string_view errorName, std::string_view message);

  private:
    // Calls the manager's `first`, then `second` when it succeeds; `done` hears the first failure or success.
    void chain(const char* first, const char* second, bool withFileFlags, Done done);

    Bus& bus_;
    std::optional<std::string> fixedState_;
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace torvel::client
