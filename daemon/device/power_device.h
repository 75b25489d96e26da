#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "battery/power_supply.h"
#include "device/charge_behaviour.h"

namespace torvel::daemon {

// One look at the battery, as core reads it, and at the mains.
struct DeviceReading : BatteryAttributes {
    bool plugged = false;

    bool charging() const { return status == "Charging"; }
    bool full() const { return status == "Full" || (capacity && *capacity >= 100); }
};

// What the driver lets us drive, found once per battery (again after a battery appears).
struct DeviceCapabilities {
    std::string batteryName;
    bool endThreshold = false;
    bool startThreshold = false;
    // Empty when charge_behaviour is absent or unreadable.
    std::vector<std::string> behaviours;
    // Where the temperature comes from ("temp", a thermal zone or hwmon path); empty when unknown.
    std::string temperatureSource;
    // A control file that exists but could not be read this time: look again rather than settle on less.
    bool incomplete = false;

    bool offers(std::string_view behaviour) const {
        for (const auto& offered : behaviours) {
            if (offered == behaviour) return true;
        }
        return false;
    }
};

enum class Threshold { start, end };
std::string_view thresholdAttribute(Threshold threshold);

// Failure text of a write, absent on success.
using WriteError = std::optional<std::string>;

// The control loop's whole view of the hardware, so that it runs unchanged against a simulated battery.
class PowerDevice {
  public:
    virtual ~PowerDevice() = default;

    virtual DeviceReading read() = 0;
    virtual DeviceCapabilities capabilities() = 0;

    virtual std::optional<int> threshold(Threshold which) = 0;
    virtual WriteError setThreshold(Threshold which, int percent) = 0;
    virtual std::optional<ChargeBehaviour> behaviour() = 0;
    virtual WriteError setBehaviour(std::string_view value) = 0;
};

}  // namespace torvel::daemon
