#include "battery_model.h"

#include <algorithm>
#include <cmath>

namespace torvel::sim {
using daemon::Threshold;

namespace {
const std::string invalid = "Invalid argument";
}

SimulatedBattery::SimulatedBattery(BatteryOptions options)
    : options_(std::move(options)), charge_(options_.startPercent), chargeLatch_(charge_ < 100) {}

void SimulatedBattery::plug(bool plugged) {
    if (plugged && !plugged_) chargeLatch_ = !options_.endThreshold || charge_ < start_ || charge_ < end_;
    plugged_ = plugged;
}

void SimulatedBattery::firmwareReset() {
    start_ = 0;
    end_ = 100;
    behaviour_ = "auto";
}

bool SimulatedBattery::charging() const {
    // inhibit-charge and inhibit-charge-awake alike: the simulated machine never sleeps.
    if (!plugged_ || behaviour_.starts_with("inhibit-charge") || charge_ >= 100) return false;
    if (behaviour_ == "force-discharge" && options_.forceDischargeCuts) return false;
    return chargeLatch_;
}

std::string SimulatedBattery::status() const {
    if (!plugged_ || (behaviour_ == "force-discharge" && options_.forceDischargeCuts)) return "Discharging";
    if (charging()) return "Charging";
    return charge_ >= 100 ? "Full" : "Not charging";
}

std::optional<double> SimulatedBattery::temperature() const {
    if (!options_.ambientCelsius) return std::nullopt;
    return std::round((*options_.ambientCelsius + warmth_ + extraHeat_) * 10) / 10;
}

void SimulatedBattery::step(double seconds) {
    const double hours = seconds / 3600;
    // Firmware thresholds: charging stops at the end value and resumes below the start value.
    if (options_.endThreshold && !options_.thresholdsIgnored) {
        if (charge_ >= end_) chargeLatch_ = false;
        if (charge_ < start_) chargeLatch_ = true;
    } else {
        chargeLatch_ = true;
    }
    const bool forced = plugged_ && behaviour_ == "force-discharge" && options_.forceDischargeCuts;
    if (charging()) {
        const double ceiling = options_.endThreshold && !options_.thresholdsIgnored ? end_ : 100;
        charge_ = std::min(charge_ + options_.chargeRate * hours, std::max(ceiling, charge_));
        warmth_ = std::min(options_.chargingWarmth, warmth_ + 6 * hours);
    } else {
        if (!plugged_) charge_ -= options_.drainRate * hours;
        if (forced) charge_ -= options_.forcedRate * hours;
        warmth_ = std::max(0.0, warmth_ - 6 * hours);
    }
    charge_ = std::clamp(charge_, 0.0, 100.0);
}

void SimulatedBattery::advance(double seconds) {
    // Small steps keep the threshold crossings where a real pack would have them.
    while (seconds > 0) {
        const double slice = std::min(seconds, 10.0);
        step(slice);
        seconds -= slice;
    }
}

std::string SimulatedBattery::behaviourText() const {
    std::string text;
    for (const auto& value : options_.behaviours) {
        if (!text.empty()) text += ' ';
        text += value == behaviour_ ? "[" + value + "]" : value;
    }
    return text;
}

daemon::DeviceReading SimulatedBattery::read() {
    daemon::DeviceReading reading;
    reading.batteryPresent = true;
    reading.capacity = static_cast<int>(std::floor(charge_));
    reading.status = status();
    reading.plugged = plugged_;
    reading.temperatureCelsius = temperature();
    reading.currentMicroamps = charging() ? 2000000 : (reading.status == "Discharging" ? 900000 : 0);
    reading.fullChargeMah = static_cast<std::int64_t>(options_.fullChargeMah);
    reading.designMah = static_cast<std::int64_t>(options_.designMah);
    reading.cycleCount = options_.cycleCount;
    reading.name = options_.name;
    reading.batteries.push_back(reading);
    return reading;
}

std::vector<daemon::DeviceCapabilities> SimulatedBattery::capabilities() {
    daemon::DeviceCapabilities caps;
    caps.batteryName = options_.name;
    caps.endThreshold = options_.endThreshold;
    caps.startThreshold = options_.endThreshold && options_.startThreshold;
    caps.behaviours = options_.behaviours;
    if (options_.ambientCelsius) caps.temperatureSource = "temp";
    return {caps};
}

std::optional<int> SimulatedBattery::threshold(std::string_view battery, Threshold which) {
    if (battery != options_.name || !options_.endThreshold ||
        (which == Threshold::start && !options_.startThreshold))
        return std::nullopt;
    return which == Threshold::start ? start_ : end_;
}

daemon::WriteResult SimulatedBattery::setThreshold(std::string_view battery, Threshold which, int percent) {
    const std::string name(daemon::thresholdAttribute(which));
    const daemon::WriteFailure refused{"cannot write " + name + ": " + invalid, true};
    if (battery != options_.name || !options_.endThreshold ||
        (which == Threshold::start && !options_.startThreshold)) {
        return daemon::WriteFailure{"cannot write " + name + ": No such file or directory"};
    }
    if (percent < 0 || percent > 100) return refused;
    const int step = std::max(1, options_.thresholdStep);
    int value = (percent + step / 2) / step * step;
    if (which == Threshold::end) {
        const auto& only = options_.endValues;
        if (!only.empty() && std::find(only.begin(), only.end(), percent) == only.end()) return refused;
        value = std::clamp(value, options_.minEnd, 100);
        if (value < start_) return refused;
        end_ = value;
    } else {
        value = std::clamp(value, options_.minStart, options_.maxStart);
        if (value > end_) return refused;
        start_ = value;
    }
    writes_.push_back((which == Threshold::end ? "end=" : "start=") + std::to_string(value));
    return std::nullopt;
}

std::optional<ChargeBehaviour> SimulatedBattery::behaviour(std::string_view battery) {
    if (battery != options_.name || options_.behaviours.empty()) return std::nullopt;
    return ChargeBehaviour::parse(behaviourText());
}

daemon::WriteResult SimulatedBattery::setBehaviour(std::string_view battery, std::string_view value) {
    if (battery != options_.name) return daemon::WriteFailure{"cannot write charge_behaviour: no battery"};
    if (std::find(options_.behaviours.begin(), options_.behaviours.end(), value) ==
        options_.behaviours.end()) {
        return daemon::WriteFailure{"cannot write charge_behaviour: " + invalid, true};
    }
    behaviour_ = std::string(value);
    writes_.push_back("behaviour=" + behaviour_);
    return std::nullopt;
}

}  // namespace torvel::sim
