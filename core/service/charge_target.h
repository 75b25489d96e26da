#pragma once

#include <optional>

#include "calibration/status.h"

namespace torvel {

// The calibration steps that charge to full, whatever the limit: the service lets them charge at once.
bool fillsUp(CalibrationStatus::Phase phase);

// The charge the service aims at, the one rule the service acts on and the app shows: a calibration step's
// own target first (full to fill, refill and soak; the drain target; the limit again to restore), then a
// top-up's 100, else the limit while limiting is on. Absent when nothing is aimed at.
std::optional<int> chargeTarget(const CalibrationStatus& cal, bool topUp, bool enabled, int limit);

}  // namespace torvel
