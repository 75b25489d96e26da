#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "device/power_device.h"

namespace torvel::daemon {

// Puts thresholds and charge_behaviour on the device, writing only what differs from what is there, and
// remembers what the driver made of each request so that a rounded or clamped value is not rewritten on
// every tick while a firmware reset to other values still is.
class ChargeWriter {
  public:
    explicit ChargeWriter(PowerDevice& device) : device_(device) {}

    WriteError applyThresholds(const DeviceCapabilities& caps, int start, int end);
    WriteError applyBehaviour(const DeviceCapabilities& caps, std::string_view value);
    // Forgets what was applied, so the next apply writes even values the device seems to hold.
    void forget() { applied_.reset(); }

    // The lowest end threshold the driver accepted when it raised a lower request; absent until one was.
    std::optional<int> nativeFloor() const { return nativeFloor_; }

  private:
    struct Applied {
        int start;
        int end;
        int readStart;
        int readEnd;
    };

    PowerDevice& device_;
    std::optional<Applied> applied_;
    std::optional<int> nativeFloor_;
};

}  // namespace torvel::daemon
