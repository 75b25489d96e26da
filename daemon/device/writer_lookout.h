#pragma once

#include "common/paths.h"
#include "control/other_writer_watch.h"

namespace torvel::daemon {

// Asks the machine who else sets the charge controls: UPower over the system bus (its ChargeThresholdEnabled
// on the battery's device), TLP's configuration under the paths' root, and whether KDE's charge-limit helper
// is on the bus right now (it stays a little while after each write). Only asked when a write the service did
// not make shows up, and then once a minute, so each look opens its own short-lived bus connection.
class SystemWriterLookout final : public WriterLookout {
  public:
    explicit SystemWriterLookout(Paths paths) : paths_(std::move(paths)) {}

    std::optional<OtherWriter> identify(const std::vector<std::string>& batteries) override;

  private:
    Paths paths_;
};

// UPower's object for a power supply: /org/freedesktop/UPower/devices/battery_BAT0.
std::string upowerDevicePath(std::string_view battery);

}  // namespace torvel::daemon
