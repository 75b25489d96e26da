#include "service/charge_target.h"

namespace torvel {

std::optional<int> chargeTarget(const CalibrationStatus& cal, bool topUp, bool enabled, int limit) {
    using Phase = CalibrationStatus::Phase;
    switch (cal.phase) {
        case Phase::fill:
        case Phase::refill:
        case Phase::soak:
            return 100;
        case Phase::drain:
            return static_cast<int>(cal.drainTarget);
        case Phase::restore:
            return limit;
        case Phase::idle:
            break;
    }
    if (topUp) return 100;
    if (enabled) return limit;
    return std::nullopt;
}

}  // namespace torvel
