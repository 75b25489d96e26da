#pragma once

#include <array>
#include <string_view>

#include "service/settings.h"

namespace torvel {

// What the service accepts for each setting. It refuses a whole message with one value outside these, and
// torvelctl checks them before sending: a refused save falls back to writing config.json directly, which
// would otherwise store a value the service sets aside at its next start.
struct IntegerSetting {
    std::string_view key;
    int Settings::*field;
    int low;
    int high;
};

struct BooleanSetting {
    std::string_view key;
    bool Settings::*field;
};

inline constexpr std::array<IntegerSetting, 5> integerSettings{{
    {"limit", &Settings::limit, 20, 100},
    {"hysteresis", &Settings::hysteresis, 1, 40},
    {"thermalLimit", &Settings::thermalLimit, 25, 60},
    {"topUpHours", &Settings::topUpHours, 0, 48},
    {"historyDays", &Settings::historyDays, 1, 3650},
}};

inline constexpr std::array<BooleanSetting, 7> booleanSettings{{
    {"enabled", &Settings::enabled},
    {"discharge", &Settings::discharge},
    {"led", &Settings::led},
    {"thermal", &Settings::thermal},
    {"topUp", &Settings::topUp},
    {"history", &Settings::history},
    {"calibrate", &Settings::calibrate},
}};

inline constexpr std::string_view blinkSecondsKey = "blinkSeconds";
inline constexpr double blinkSecondsLow = 0.5;
inline constexpr double blinkSecondsHigh = 5.0;

// Not a setting: a one-off request carried by a settings message to zero the protected-time counter.
inline constexpr std::string_view resetProtectedKey = "resetProtected";

}  // namespace torvel
