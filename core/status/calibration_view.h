#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "calibration/status.h"
#include "common/view_words.h"
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
        // The capacity with its share, as the list shows it, or that nothing was measured.
        std::string measured;
    };
    static RunLine line(const CalibrationStatus::Run& run);

    // "Step 2 of 5" while a sweep runs, the steps' heading otherwise.
    static std::string stepsTitle(int step, int count, bool running);
    // The page's fixed words.
    static ViewWords words();
};

}  // namespace torvel
