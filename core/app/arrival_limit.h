#pragma once

#include <optional>

#include "battery/system_lock.h"
#include "extras/arrival.h"
#include "service/charge_settings.h"

namespace torvel {

// The facts the arrival label compares the charge with, from the settings model when it still exists.
std::optional<ChargeArrival::Limit> arrivalLimit(const ChargeSettingsState* settings, const SystemLock& lock);

}  // namespace torvel
