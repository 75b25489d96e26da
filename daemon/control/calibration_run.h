#pragma once

#include <cstdint>
#include <optional>

#include "calibration/status.h"
#include "common/dates.h"
#include "device/power_device.h"

namespace torvel::daemon {

// Drives one calibration sweep through its phases (fill, drain, refill, soak, restore) and keeps the
// published record of it. Pure bookkeeping: core's chargeTarget says what each phase aims at.
class CalibrationRun {
  public:
    // A run in which neither the charge nor the phase moved for this long is given up.
    static constexpr double stallSeconds = 3 * 24 * 3600.0;
    // Completed runs kept in the record; older ones fall off.
    static constexpr std::size_t keptRuns = 50;

    CalibrationRun(CalibrationStatus status, std::optional<std::int64_t> beforeRaw);

    // Returns true when a run ended (completed, stalled or abandoned) during this update, so the caller
    // turns `calibrate` off in the configuration. `now` dates the record; the stall is timed on `boot`.
    bool update(bool calibrate, int limit, const DeviceReading& reading, Instant now, double boot,
                double elapsed);

    bool running() const { return status_.phase != CalibrationStatus::Phase::idle; }
    bool draining() const { return status_.phase == CalibrationStatus::Phase::drain; }
    // Phases that bring the charge down, by forced discharge where the machine offers it.
    bool pullingDown() const { return draining() || status_.phase == CalibrationStatus::Phase::restore; }

    const CalibrationStatus& status() const { return status_; }
    std::optional<std::int64_t> beforeRaw() const { return beforeRaw_; }

  private:
    void enter(CalibrationStatus::Phase phase, double boot);
    void finish(const DeviceReading& reading, Instant now);

    CalibrationStatus status_;
    std::optional<std::int64_t> beforeRaw_;
    bool sawRequest_ = false;
    // Boot-clock time.
    std::optional<double> lastMovedAt_;
    std::optional<int> lastPct_;
};

}  // namespace torvel::daemon
