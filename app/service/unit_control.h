#pragma once

#include <functional>
#include <optional>
#include <string>

#include "service/service_state.h"

namespace torvel::app {

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

}  // namespace torvel::app
