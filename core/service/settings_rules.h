#pragma once

#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <variant>

#include "service/settings.h"

namespace torvel {

// What the service accepts for each setting. It refuses a whole message with one value outside these, and
// torvelctl checks them before sending: a refused save falls back to writing config.json directly, which
// would otherwise store a value the service sets aside at its next start.
struct BooleanSetting {
    std::string_view key;
    bool Settings::*field;
};

struct IntegerSetting {
    std::string_view key;
    int Settings::*field;
    int low;
    int high;
};

struct DecimalSetting {
    std::string_view key;
    double Settings::*field;
    double low;
    double high;
};

using SettingRule = std::variant<BooleanSetting, IntegerSetting, DecimalSetting>;

// Every setting once: the codec, the service's validation, torvelctl's assignments, its help and its status
// all walk this table, in this order, which is the order the user reads them in.
inline constexpr std::array<SettingRule, 13> settingRules{{
    BooleanSetting{"enabled", &Settings::enabled},
    IntegerSetting{"limit", &Settings::limit, 20, 100},
    BooleanSetting{"discharge", &Settings::discharge},
    BooleanSetting{"led", &Settings::led},
    DecimalSetting{"blinkSeconds", &Settings::blinkSeconds, 0.5, 5.0},
    BooleanSetting{"thermal", &Settings::thermal},
    IntegerSetting{"thermalLimit", &Settings::thermalLimit, 25, 60},
    BooleanSetting{"topUp", &Settings::topUp},
    IntegerSetting{"topUpHours", &Settings::topUpHours, 0, 48},
    IntegerSetting{"hysteresis", &Settings::hysteresis, 1, 40},
    BooleanSetting{"history", &Settings::history},
    IntegerSetting{"historyDays", &Settings::historyDays, 1, 3650},
    BooleanSetting{"calibrate", &Settings::calibrate},
}};

constexpr std::string_view settingKey(const SettingRule& rule) {
    return std::visit([](const auto& setting) { return setting.key; }, rule);
}

// A bound as the user types it: 0.5, 5.
inline std::string boundText(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return std::string(text, end);
}

// Calls `visit(key, value)` for each setting of `settings`, in the table's order.
template <typename Visit>
void forEachSetting(const Settings& settings, Visit&& visit) {
    for (const auto& rule : settingRules) {
        std::visit([&](const auto& setting) { visit(setting.key, settings.*setting.field); }, rule);
    }
}

// Not a setting: a one-off request carried by a settings message to zero the protected-time counter.
inline constexpr std::string_view resetProtectedKey = "resetProtected";

}  // namespace torvel
