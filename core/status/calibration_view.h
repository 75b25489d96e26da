#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "calibration/status.h"
#include "service/charge_settings.h"

namespace torvel {

// What the calibration page derives from the settings record beyond the run's own words: whether a sweep
// may start, how far the current step has come, and one line per past run.
struct CalibrationView {
    // Why "Start" is unavailable; absent when a sweep can start.
    static std::optional<std::string> blocked(const ChargeSettingsState& state);

    // 0..1 through the current step, from the charge the service last published (or the soak time banked).
    // Absent while idle and on the way back to the limit, which has no fixed end.
    static std::optional<double> progress(const CalibrationStatus& cal, std::int64_t charge);

    struct RunLine {
        std::string date;
        // "5489 mAh": what the cells held after the sweep; absent when the service did not measure it.
        std::optional<std::string> capacity;
        // The same as a share of the design capacity.
        std::optional<std::string> share;
    };
    static RunLine line(const CalibrationStatus::Run& run);
};

}  // namespace torvel
