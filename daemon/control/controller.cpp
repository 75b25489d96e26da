#include "control/controller.h"

#include <algorithm>
#include <cmath>

namespace torvel::daemon {

std::optional<std::string> chargeModeOf(const DeviceCapabilities& caps) {
    const bool behaviour = caps.offers(behaviourInhibit);
    if (caps.endThreshold && behaviour) return "thresholds+behaviour";
    if (caps.endThreshold) return "thresholds";
    if (behaviour) return "behaviour";
    return std::nullopt;
}

ChargeController::ChargeController(PowerDevice& device, ControlMemory memory, Log log)
    : device_(device),
      log_(std::move(log)),
      writer_(device),
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
}

std::optional<Settings> ChargeController::takeSettingsChange() {
    auto change = std::move(settingsChange_);
    settingsChange_.reset();
    return change;
}

void ChargeController::reapply() {
    asleep_ = false;
    capsKnown_ = false;
    writer_.forget();
}

void ChargeController::refreshCapabilities() {
    caps_ = device_.capabilities();
    // Settling on an unreadable charge_behaviour would give up forced discharge for the whole run.
    capsKnown_ = !caps_.batteryName.empty() && !caps_.incomplete;
    status_.chargeMode = chargeModeOf(caps_);
    status_.dischargeSupported = caps_.offers(behaviourForceDischarge);
    status_.smcKeys.clear();
    if (caps_.endThreshold) status_.smcKeys.emplace_back(thresholdAttribute(Threshold::end));
    if (caps_.startThreshold) status_.smcKeys.emplace_back(thresholdAttribute(Threshold::start));
    if (!caps_.behaviours.empty()) status_.smcKeys.emplace_back("charge_behaviour");
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
    if (auto calibrating = calibration_.target(settings_.limit)) return calibrating;
    if (settings_.topUp) return 100;
    if (settings_.enabled) return settings_.limit;
    return std::nullopt;
}

bool ChargeController::apply(const DeviceReading& reading, std::optional<int> goal, bool forcing) {
    const int pct = reading.capacity.value_or(status_.pct);
    WriteError error;

    if (caps_.endThreshold) {
        int end = goal.value_or(100);
        int start = goal ? std::max(0, end - settings_.hysteresis) : 0;
        // A top-up or a calibration fill must charge now, not only after the charge sags below the window.
        if (goal && (calibration_.fillingUp() || (settings_.topUp && !calibration_.running()))) {
            start = std::max(0, end - 1);
        }
        if (status_.hot && !caps_.offers(behaviourInhibit)) {
            end = std::clamp(pct, 0, end);
            start = std::max(0, end - settings_.hysteresis);
        }
        error = writer_.applyThresholds(caps_, start, end);
    }

    if (!caps_.endThreshold && goal) {
        if (pct >= *goal) inhibitLatched_ = true;
        if (pct < *goal - settings_.hysteresis) inhibitLatched_ = false;
    } else {
        inhibitLatched_ = false;
    }
    std::string_view behaviour = behaviourAuto;
    if (forcing) {
        behaviour = behaviourForceDischarge;
    } else if (caps_.offers(behaviourInhibit) &&
               (status_.hot || inhibitLatched_ || (calibration_.draining() && reading.plugged))) {
        behaviour = behaviourInhibit;
    }
    auto behaviourError = writer_.applyBehaviour(caps_, behaviour);
    if (behaviourError && forcing) {
        // Not discharging, whatever was asked: the status says what the battery does. The supervisor
        // asks again on the next tick and gives up once the cut has had its time to take hold.
        forcing = false;
        if (auto fallback = writer_.applyBehaviour(caps_, behaviourAuto); fallback && !error)
            error = fallback;
    }
    if (behaviourError && !error) error = behaviourError;
    note(error);
    return forcing;
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
    const bool wanted = !asleep_ && goal && reading.plugged && reading.capacity && status_.pct > *goal &&
                        dischargeAllowed && caps_.offers(behaviourForceDischarge);
    const auto onDevice = caps_.behaviours.empty() ? std::nullopt : device_.behaviour();
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
        writer_.forget();
        if (log_) log_("battery back; taking it up again");
    }
    if (!capsKnown_) {
        refreshCapabilities();
        writer_.forget();
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
        state = control(reading, boot, elapsed);
    }
    status_.nativeFloor = writer_.nativeFloor();
    enterState(state, now);
}

WriteError ChargeController::release() {
    released_ = true;
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    WriteError error = writer_.applyThresholds(caps_, 0, 100);
    if (auto behaviourError = writer_.applyBehaviour(caps_, behaviourAuto); !error) error = behaviourError;
    writer_.forget();
    return error;
}

WriteError ChargeController::prepareForSleep() {
    asleep_ = true;
    const bool forcing = discharge_.active();
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    // Only a forced discharge is handed back, also one this run did not start: an inhibited charger keeps
    // holding the limit through the night and harms nothing.
    const auto onDevice = caps_.behaviours.empty() ? std::nullopt : device_.behaviour();
    if (!forcing && (!onDevice || onDevice->current != behaviourForceDischarge)) return std::nullopt;
    return writer_.applyBehaviour(caps_, behaviourAuto);
}

WriteError ChargeController::shutdown() {
    discharge_.stop();
    if (!capsKnown_) refreshCapabilities();
    // Thresholds are safe to leave behind (the firmware keeps holding the limit while the service is away);
    // a forced discharge or an inhibited charger is not.
    WriteError error = writer_.applyBehaviour(caps_, behaviourAuto);
    if (!released_) {
        const int end = settings_.enabled ? settings_.limit : 100;
        const int start = settings_.enabled ? std::max(0, end - settings_.hysteresis) : 0;
        if (auto thresholdError = writer_.applyThresholds(caps_, start, end); !error) error = thresholdError;
    }
    return error;
}

}  // namespace torvel::daemon
