#include "control/calibration_run.h"

namespace torvel::daemon {
using Phase = CalibrationStatus::Phase;

CalibrationRun::CalibrationRun(CalibrationStatus status, std::optional<std::int64_t> beforeRaw)
    : status_(std::move(status)), beforeRaw_(beforeRaw) {
    // A run that was on when the service stopped continues; the request that started it is still standing.
    sawRequest_ = running();
}

void CalibrationRun::enter(Phase phase, double boot) {
    status_.phase = phase;
    lastMovedAt_ = boot;
}

void CalibrationRun::finish(const DeviceReading& reading, Instant now) {
    CalibrationStatus::Run run;
    run.at = now;
    run.beforeRaw = beforeRaw_;
    run.afterRaw = reading.fullChargeMah;
    run.design = reading.designMah;
    run.cyclesAfter = reading.cycleCount;
    status_.runs.push_back(run);
    if (status_.runs.size() > keptRuns) status_.runs.erase(status_.runs.begin());
    status_.lastFailure.reset();
}

bool CalibrationRun::update(bool calibrate, int limit, const DeviceReading& reading, Instant now, double boot,
                            double elapsed) {
    const bool requested = calibrate && !sawRequest_;
    sawRequest_ = calibrate;

    if (!running()) {
        if (!requested) return false;
        status_.startedAt = now;
        status_.soakBanked = 0;
        status_.lastFailure.reset();
        beforeRaw_ = reading.fullChargeMah;
        lastPct_ = reading.capacity;
        enter(Phase::fill, boot);
        return false;
    }
    if (!calibrate) {
        enter(Phase::idle, boot);
        return true;
    }

    if (!lastMovedAt_) lastMovedAt_ = boot;
    if (reading.capacity && reading.capacity != lastPct_) {
        lastPct_ = reading.capacity;
        lastMovedAt_ = boot;
    }
    const int pct = reading.capacity.value_or(0);
    switch (status_.phase) {
        case Phase::fill:
            if (reading.full()) enter(Phase::drain, boot);
            break;
        case Phase::drain:
            if (reading.capacity && pct <= status_.drainTarget) enter(Phase::refill, boot);
            break;
        case Phase::refill:
            if (reading.full()) enter(Phase::soak, boot);
            break;
        case Phase::soak:
            // Only time plugged in at full counts: on battery the charge is no longer being topped off.
            if (reading.plugged && reading.full()) {
                status_.soakBanked += elapsed;
                lastMovedAt_ = boot;
            }
            if (status_.soakBanked >= status_.soakSeconds) {
                finish(reading, now);
                enter(Phase::restore, boot);
            }
            break;
        case Phase::restore:
            // The sweep is recorded; the run is over once the charge is back within the limit or the
            // machine runs on battery, from where ordinary holding takes over.
            if (!reading.plugged || (reading.capacity && pct <= limit)) {
                enter(Phase::idle, boot);
                status_.startedAt.reset();
                return true;
            }
            return false;
        case Phase::idle:
            break;
    }
    if (running() && boot - *lastMovedAt_ >= stallSeconds) {
        status_.lastFailure = CalibrationStatus::Failure{"stalled", status_.phase, std::nullopt};
        enter(Phase::idle, boot);
        status_.startedAt.reset();
        return true;
    }
    return false;
}

}  // namespace torvel::daemon
