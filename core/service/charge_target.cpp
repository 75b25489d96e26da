#include "service/charge_target.h"

namespace torvel {

bool fillsUp(CalibrationStatus::Phase phase) {
    using Phase = CalibrationStatus::Phase;
    return phase == Phase::fill || phase == Phase::refill || phase == Phase::soak;
}

std::optional<int> chargeTarget(const CalibrationStatus& cal, bool topUp, bool enabled, int limit) {
    using Phase = CalibrationStatus::Phase;
    if (fillsUp(cal.phase)) return 100;
    if (cal.phase == Phase::drain) return static_cast<int>(cal.drainTarget);
    if (cal.phase == Phase::restore) return limit;
    if (topUp) return 100;
    if (enabled) return limit;
    return std::nullopt;
}

}  // namespace torvel
