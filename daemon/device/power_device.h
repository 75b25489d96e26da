#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "battery/battery_controls.h"
#include "battery/charge_behaviour.h"
#include "battery/power_supply.h"

namespace torvel::daemon {

// One look at the batteries, taken as one as core reads them, each of them, and the mains.
struct DeviceReading : BatteryAttributes {
    bool plugged = false;
    // Every battery in its bay, in name order.
    std::vector<BatteryAttributes> batteries;

    bool full() const { return status == "Full" || (capacity && *capacity >= 100); }
};

// What one battery's driver lets us drive, found once per battery (again after a battery appears).
struct DeviceCapabilities : BatteryControls {
    std::string batteryName;
    // Where the temperature comes from ("temp", a thermal zone or hwmon path); empty when unknown.
    std::string temperatureSource;
};

enum class Threshold { start, end };
std::string_view thresholdAttribute(Threshold threshold);

// A write that did not take. `refused`: the driver does not take that value (EINVAL), which a nearby value
// may cure; anything else is the write itself failing.
struct WriteFailure {
    std::string text;
    bool refused = false;
};
using WriteResult = std::optional<WriteFailure>;
// Failure text of an operation, absent on success.
using WriteError = std::optional<std::string>;

// The control loop's whole view of the hardware, so that it runs unchanged against a simulated battery.
// Batteries are named as the power-supply class names them ("BAT0").
class PowerDevice {
  public:
    virtual ~PowerDevice() = default;

    virtual DeviceReading read() = 0;
    // Every battery in its bay, in name order.
    virtual std::vector<DeviceCapabilities> capabilities() = 0;

    virtual std::optional<int> threshold(std::string_view battery, Threshold which) = 0;
    virtual WriteResult setThreshold(std::string_view battery, Threshold which, int percent) = 0;
    virtual std::optional<ChargeBehaviour> behaviour(std::string_view battery) = 0;
    virtual WriteResult setBehaviour(std::string_view battery, std::string_view value) = 0;
};

}  // namespace torvel::daemon
