#include "control/discharge_supervisor.h"

namespace torvel::daemon {

bool DischargeSupervisor::update(bool wanted, const DeviceReading& reading,
                                 std::optional<std::string_view> onDevice, double boot) {
    if (step_ == Step::idle) {
        if (!wanted || blocked_) return false;
        step_ = Step::starting;
        startedAt_ = boot;
        return true;
    }
    if (!wanted) {
        step_ = Step::idle;
        return false;
    }
    if (step_ == Step::running && onDevice && *onDevice != behaviourForceDischarge) {
        // Someone else (firmware, another tool) reset it; fighting them would flap the charger.
        step_ = Step::idle;
        blocked_ = true;
        return false;
    }
    if (step_ == Step::starting) {
        if (reading.status == "Discharging") {
            step_ = Step::running;
            failed_ = false;
        } else if (boot - startedAt_ >= takeHoldSeconds) {
            step_ = Step::idle;
            blocked_ = true;
            failed_ = true;
            return false;
        }
    }
    return true;
}

}  // namespace torvel::daemon
