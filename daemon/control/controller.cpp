#include "control/controller.h"

#include <algorithm>
#include <cmath>

#include "service/charge_target.h"

namespace torvel::daemon {

ChargeController::ChargeController(PowerDevice& device, ControlMemory memory, Log log, WriterLookout* lookout)
    : device_(device),
      log_(std::move(log)),
      otherWriters_(lookout),
      calibration_(std::move(memory.cal), memory.calBeforeRaw) {
    status_.state = ChargeState::allow;
    // Nothing drives a charger light on Linux; forced discharge is known once the device has been looked at.
    status_.ledSupported = false;
    status_.dischargeSupported = false;
    status_.cal = calibration_.status();
    setProtectedSeconds(memory.protectedSeconds);
}

ControlMemory ChargeController::memory() const {
    return ControlMemory{protectedSeconds_, calibration_.status(), calibration_.beforeRaw()};
}

void ChargeController::forgetMemory() {
    setProtectedSeconds(0);
    calibration_ = CalibrationRun({}, std::nullopt);
    status_.cal = calibration_.status();
}

void ChargeController::setProtectedSeconds(double seconds) {
    protectedSeconds_ = seconds;
    status_.protectedSeconds = std::floor(seconds);
}

void ChargeController::setSettings(const Settings& settings) {
    if (!settings.topUp || !settings_.topUp) topUpFullSeconds_ = 0;
    settings_ = settings;
    released_ = false;
    if (otherWriters_.writer()) {
        otherWriters_.reset();
        forgetWrites();
        status_.otherWriter.reset();
    }
}

void ChargeController::forgetWrites() {
    for (auto& writer : writers_) writer.forget();
}

std::vector<std::string> ChargeController::batteryNames() const {
    std::vector<std::string> names;
    for (const auto& caps : caps_) names.push_back(caps.batteryName);
    return names;
}

const DeviceCapabilities* ChargeController::offering(std::string_view behaviour) const {
    for (const auto& caps : caps_) {
        if (caps.offers(behaviour)) return &caps;
    }
    return nullptr;
}

std::optional<Settings> ChargeController::takeSettingsChange() {
    auto change = std::move(settingsChange_);
    settingsChange_.reset();
    return change;
}

void ChargeController::reapply() {
    asleep_ = false;
    capsKnown_ = false;
    forgetWrites();
}

void ChargeController::refreshCapabilities() {
    const std::vector<std::string> before = batteryNames();
    caps_ = device_.capabilities();
    // Settling on an unreadable charge_behaviour would give up forced discharge for the whole run.
    capsKnown_ = !caps_.empty() &&
                 std::none_of(caps_.begin(), caps_.end(), [](const auto& c) { return c.incomplete; });
    // A writer keeps what it learnt of its driver (a floor, refused values) for as long as its battery stays.
    if (batteryNames() != before) {
        writers_.clear();
        for (const auto& caps : caps_) writers_.emplace_back(device_, caps.batteryName);
    }
    batteryErrors_.assign(caps_.size(), {});
    status_.chargeMode.reset();
    status_.smcKeys.clear();
    const auto addKey = [&](std::string_view key) {
        if (std::find(status_.smcKeys.begin(), status_.smcKeys.end(), key) == status_.smcKeys.end())
            status_.smcKeys.emplace_back(key);
    };
    for (const auto& caps : caps_) {
        if (!status_.chargeMode) status_.chargeMode = caps.mode();
        if (caps.endThreshold) addKey(thresholdAttribute(Threshold::end));
        if (caps.startThreshold) addKey(thresholdAttribute(Threshold::start));
        if (!caps.behaviours.empty()) addKey("charge_behaviour");
    }
    status_.dischargeSupported = offering(behaviourForceDischarge) != nullptr;
}

void ChargeController::note(const WriteError& error) {
    // A refusing driver refuses on every tick; the log wants it once, and once more when it recovers.
    const std::string text = error.value_or("");
    if (text == lastError_) return;
    if (log_) log_(text.empty() ? "charge control works again" : text);
    lastError_ = text;
}

void ChargeController::updateHeat(const DeviceReading& reading) {
    if (!settings_.thermal || !reading.temperatureCelsius) {
        status_.hot = false;
        return;
    }
    const double temp = *reading.temperatureCelsius;
    if (temp > settings_.thermalLimit) {
        status_.hot = true;
    } else if (temp <= settings_.thermalLimit - heatReturnCelsius) {
        status_.hot = false;
    }
}

void ChargeController::updateTopUp(const DeviceReading& reading, bool unplugged, double elapsed) {
    if (!settings_.topUp) return;
    bool over = false;
    if (settings_.topUpHours == 0) {
        over = unplugged;
    } else if (reading.plugged && reading.full()) {
        topUpFullSeconds_ += elapsed;
        over = topUpFullSeconds_ >= settings_.topUpHours * 3600.0;
    }
    if (!over) return;
    settings_.topUp = false;
    topUpFullSeconds_ = 0;
    settingsChange_ = settings_;
    if (log_) log_("top-up finished");
}

std::optional<int> ChargeController::target() const {
    return chargeTarget(calibration_.status(), settings_.topUp, settings_.enabled, settings_.limit);
}

bool ChargeController::apply(const DeviceReading& reading, std::optional<int> goal, bool forcing) {
    const bool yielding = otherWriters_.yielding();
    if (goal && status_.pct >= *goal) inhibitLatched_ = true;
    if (!goal || status_.pct < *goal - settings_.hysteresis) inhibitLatched_ = false;

    WriteError error;
    const auto keep = [&](WriteError& into, const WriteError& failure) {
        if (failure && !into) into = failure;
    };
    bool forced = forcing;
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        const DeviceCapabilities& caps = caps_[i];
        ChargeWriter& writer = writers_[i];
        WriteError batteryError;
        const auto inhibit = caps.inhibitWord();

        // Giving way to another program leaves its thresholds alone.
        if (caps.endThreshold && !yielding) {
            int pct = status_.pct;
            for (const auto& battery : reading.batteries) {
                if (battery.name == caps.batteryName && battery.capacity) pct = *battery.capacity;
            }
            int end = goal.value_or(100);
            int start = goal ? std::max(0, end - settings_.hysteresis) : 0;
            // A top-up or a calibration fill must charge now, not only after the charge sags below the
            // window.
            if (goal &&
                (fillsUp(calibration_.status().phase) || (settings_.topUp && !calibration_.running()))) {
                start = std::max(0, end - 1);
            }
            if (status_.hot && !inhibit) {
                end = std::clamp(pct, 0, end);
                start = std::max(0, end - settings_.hysteresis);
            }
            batteryError = writer.applyThresholds(caps, start, end);
        }

        std::string_view behaviour = behaviourAuto;
        if (yielding) {
            // Only ever handing back what the service itself may have set.
        } else if (forcing && caps.offers(behaviourForceDischarge)) {
            behaviour = behaviourForceDischarge;
        } else if (inhibit && (status_.hot || (inhibitLatched_ && !caps.endThreshold) ||
                               (calibration_.draining() && reading.plugged))) {
            behaviour = *inhibit;
        }
        auto behaviourError = writer.applyBehaviour(caps, behaviour);
        if (behaviour == behaviourForceDischarge && (behaviourError || writer.behaviourTaken()))
            forced = false;
        keep(batteryError, behaviourError);
        batteryErrors_[i] = batteryError;
        keep(error, batteryError ? std::optional(caps.batteryName + ": " + *batteryError) : std::nullopt);
    }
    if (forcing && !forced) {
        // Not discharging, whatever was asked: the status says what the battery does. The supervisor
        // asks again on the next tick and gives up once the cut has had its time to take hold.
        for (std::size_t i = 0; i < caps_.size(); ++i) {
            if (auto fallback = writers_[i].applyBehaviour(caps_[i], behaviourAuto)) keep(error, fallback);
        }
    }
    note(error);
    return forced && offering(behaviourForceDischarge) != nullptr;
}

bool ChargeController::followPlug(bool plugged) {
    const bool pluggedIn = wasPlugged_ && !*wasPlugged_ && plugged;
    const bool unplugged = wasPlugged_ && *wasPlugged_ && !plugged;
    wasPlugged_ = plugged;
    if (pluggedIn) discharge_.pluggedIn();
    return unplugged;
}

void ChargeController::takeReading(const DeviceReading& reading) {
    // A charge that could not be read this once keeps the last one rather than showing 0%.
    if (reading.capacity) status_.pct = *reading.capacity;
    status_.plugged = reading.plugged;
    status_.temp = reading.temperatureCelsius;
}

void ChargeController::advanceCalibration(const DeviceReading& reading, Instant now, double boot,
                                          double elapsed) {
    if (calibration_.update(settings_.calibrate, settings_.limit, reading, now, boot, elapsed)) {
        settings_.calibrate = false;
        settingsChange_ = settings_;
        if (log_)
            log_(calibration_.status().lastFailure ? "calibration stopped: nothing moved"
                                                   : "calibration over");
    }
    status_.cal = calibration_.status();
}

bool ChargeController::superviseDischarge(const DeviceReading& reading, std::optional<int> goal,
                                          double boot) {
    const bool dischargeAllowed = settings_.discharge || calibration_.pullingDown();
    const DeviceCapabilities* forceable = offering(behaviourForceDischarge);
    const bool wanted = !asleep_ && goal && reading.plugged && reading.capacity && status_.pct > *goal &&
                        dischargeAllowed && forceable != nullptr && !otherWriters_.yielding();
    const auto onDevice = forceable == nullptr ? std::nullopt : device_.behaviour(forceable->batteryName);
    const bool forcing = discharge_.update(
        wanted, reading, onDevice ? std::optional<std::string_view>(onDevice->current) : std::nullopt, boot);
    if (discharge_.failed() && !status_.dischargeFailed && log_) log_("forced discharge did not take");
    status_.dischargeFailed = discharge_.failed();
    return forcing;
}

ChargeState ChargeController::stateOf(const DeviceReading& reading, std::optional<int> goal,
                                      bool forcing) const {
    if (forcing) return ChargeState::discharge;
    if (!reading.plugged) return ChargeState::allow;
    const bool holding = goal && status_.pct >= *goal - settings_.hysteresis;
    if (status_.hot || (holding && !reading.charging()) || (calibration_.draining() && !reading.charging())) {
        return ChargeState::hold;
    }
    return ChargeState::allow;
}

void ChargeController::verifyGate(const DeviceReading& reading, std::optional<int> goal, bool forcing,
                                  double boot) {
    // Verification looks at a stretch of holding at or above the target, where nothing should flow in.
    const bool atLimit = reading.plugged && goal && *goal < 100 && status_.pct >= *goal && !forcing;
    if (!atLimit) {
        holdingSince_.reset();
    } else if (!holdingSince_) {
        holdingSince_ = boot;
    } else if (boot - *holdingSince_ >= gateDelaySeconds) {
        const bool stillFlowing = reading.charging() && reading.currentMicroamps.value_or(
                                                            gateCurrentMicroamps) >= gateCurrentMicroamps;
        status_.gateVerified = !stillFlowing;
    }
}

void ChargeController::countProtectedTime(ChargeState state, std::optional<int> goal, double elapsed) {
    if (state == ChargeState::hold && goal && *goal < 100 && status_.pct < 100) {
        setProtectedSeconds(protectedSeconds_ + elapsed);
    }
}

ChargeState ChargeController::control(const DeviceReading& reading, double boot, double elapsed) {
    if (otherWriters_.yielding()) {
        // The other program has the charger; nothing is held, verified or counted meanwhile.
        discharge_.stop();
        holdingSince_.reset();
        apply(reading, std::nullopt, false);
        return ChargeState::allow;
    }
    const auto goal = target();
    const bool forcing = apply(reading, goal, superviseDischarge(reading, goal, boot));
    status_.dischargeFailed = discharge_.failed();
    const ChargeState state = stateOf(reading, goal, forcing);
    verifyGate(reading, goal, forcing, boot);
    countProtectedTime(state, goal, elapsed);
    return state;
}

void ChargeController::enterState(ChargeState state, Instant now) {
    if (status_.state != state || !status_.since) {
        status_.state = state;
        status_.since = now;
    }
}

void ChargeController::followAbsence(Instant now) {
    if (!absent_ && log_) log_("battery removed; nothing to hold until it is back");
    absent_ = true;
    // Looked at afresh when it returns: it may be another battery, or firmware that forgot the thresholds.
    capsKnown_ = false;
    discharge_.stop();
    holdingSince_.reset();
    inhibitLatched_ = false;
    status_.pct = 0;
    status_.temp.reset();
    status_.hot = false;
    status_.gateVerified.reset();
    status_.chargeMode.reset();
    status_.smcKeys.clear();
    status_.batteries.clear();
    status_.nativeLimit.reset();
    if (status_.state || status_.otherState != absentWord || !status_.since) status_.since = now;
    status_.state.reset();
    status_.otherState = std::string(absentWord);
}

void ChargeController::tick(Instant now, double boot) {
    const DeviceReading reading = device_.read();
    if (!reading.batteryPresent) {
        lastTick_ = boot;
        status_.plugged = reading.plugged;
        followAbsence(now);
        return;
    }
    if (absent_) {
        absent_ = false;
        status_.otherState.reset();
        status_.since.reset();
        forgetWrites();
        if (log_) log_("battery back; taking it up again");
    }
    if (!capsKnown_) {
        refreshCapabilities();
        forgetWrites();
    }
    const double elapsed = lastTick_ ? std::clamp(boot - *lastTick_, 0.0, 120.0) : 0.0;
    lastTick_ = boot;
    const bool unplugged = followPlug(reading.plugged);
    takeReading(reading);
    advanceCalibration(reading, now, boot, elapsed);
    updateTopUp(reading, unplugged, elapsed);
    status_.topUp = settings_.topUp;
    updateHeat(reading);

    ChargeState state = ChargeState::allow;
    if (released_) {
        // Released: the firmware has the charger, and nothing is held or verified meanwhile.
        discharge_.stop();
        holdingSince_.reset();
    } else {
        watchOtherWriters(now, boot);
        state = control(reading, boot, elapsed);
    }
    status_.nativeFloor.reset();
    status_.nativeLimit.reset();
    const bool holdingTheLimit = !released_ && !otherWriters_.yielding() && !status_.hot &&
                                 settings_.enabled && target() == settings_.limit;
    for (const auto& writer : writers_) {
        if (const auto floor = writer.nativeFloor())
            status_.nativeFloor = status_.nativeFloor ? std::min(*status_.nativeFloor, *floor) : *floor;
        if (!status_.nativeLimit && holdingTheLimit) status_.nativeLimit = writer.heldEnd();
    }
    status_.chargeError = lastError_.empty() ? std::nullopt : std::optional(lastError_);
    status_.otherWriter = otherWriters_.writer();
    publishBatteries(reading);
    enterState(state, now);
}

void ChargeController::watchOtherWriters(Instant now, double boot) {
    const auto names = batteryNames();
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        if (auto change = writers_[i].foreignChange(caps_[i])) {
            const std::string line = otherWriters_.noticed(caps_[i].batteryName, *change, names, now, boot);
            if (log_) log_(line);
        }
    }
    if (auto line = otherWriters_.recheck(names, boot)) {
        forgetWrites();
        if (log_) log_(*line);
    }
}

void ChargeController::publishBatteries(const DeviceReading& reading) {
    status_.batteries.clear();
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        const DeviceCapabilities& caps = caps_[i];
        PublishedBattery battery;
        battery.name = caps.batteryName;
        battery.mode = caps.mode();
        for (const auto& read : reading.batteries) {
            if (read.name != caps.batteryName) continue;
            battery.pct = read.capacity;
            battery.status = read.status;
        }
        if (caps.endThreshold) battery.endThreshold = device_.threshold(caps.batteryName, Threshold::end);
        if (caps.startThreshold)
            battery.startThreshold = device_.threshold(caps.batteryName, Threshold::start);
        if (!caps.behaviours.empty()) {
            if (auto behaviour = device_.behaviour(caps.batteryName)) battery.behaviour = behaviour->current;
        }
        if (i < batteryErrors_.size()) battery.error = batteryErrors_[i];
        status_.batteries.push_back(std::move(battery));
    }
}

WriteError ChargeController::release() {
    released_ = true;
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    WriteError error;
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        auto thresholdError = writers_[i].applyThresholds(caps_[i], 0, 100);
        auto behaviourError = writers_[i].applyBehaviour(caps_[i], behaviourAuto);
        if (!error) error = thresholdError ? thresholdError : behaviourError;
    }
    forgetWrites();
    return error;
}

WriteError ChargeController::prepareForSleep() {
    asleep_ = true;
    const bool forcing = discharge_.active();
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    // Only a forced discharge is handed back, also one this run did not start: an inhibited charger keeps
    // holding the limit through the night and harms nothing.
    WriteError error;
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        if (caps_[i].behaviours.empty()) continue;
        const auto onDevice = device_.behaviour(caps_[i].batteryName);
        if (!forcing && (!onDevice || onDevice->current != behaviourForceDischarge)) continue;
        if (auto behaviourError = writers_[i].applyBehaviour(caps_[i], behaviourAuto); !error)
            error = behaviourError;
    }
    return error;
}

WriteError ChargeController::shutdown() {
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    // Thresholds are safe to leave behind (the firmware keeps holding the limit while the service is away);
    // a forced discharge or an inhibited charger is not. Another program's thresholds stay its own.
    WriteError error;
    for (std::size_t i = 0; i < caps_.size(); ++i) {
        writers_[i].forget();
        if (auto behaviourError = writers_[i].applyBehaviour(caps_[i], behaviourAuto); !error)
            error = behaviourError;
        if (released_ || otherWriters_.yielding()) continue;
        const int end = settings_.enabled ? settings_.limit : 100;
        const int start = settings_.enabled ? std::max(0, end - settings_.hysteresis) : 0;
        if (auto thresholdError = writers_[i].applyThresholds(caps_[i], start, end); !error)
            error = thresholdError;
    }
    return error;
}

}  // namespace torvel::daemon
