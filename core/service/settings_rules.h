#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "service/settings.h"

namespace torvel {

// What the service accepts for each setting. It refuses a whole message with one value outside these, and
// torvelctl checks them with the same rules and words before sending: a refused save falls back to writing
// config.json directly, which would otherwise store a value the service sets aside at its next start.
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

// Calls `visit(key, value)` for each setting of `settings`, in the table's order.
template <typename Visit>
void forEachSetting(const Settings& settings, Visit&& visit) {
    for (const auto& rule : settingRules) {
        std::visit([&](const auto& setting) { visit(setting.key, settings.*setting.field); }, rule);
    }
}

// Not a setting: a one-off request carried by a settings message to zero the protected-time counter.
inline constexpr std::string_view resetProtectedKey = "resetProtected";

// The rule of a setting key; null for a key that names no setting.
const SettingRule* findSettingRule(std::string_view key);

// The one sentence a refused value gets, naming its key and what it takes: "The setting limit must be a
// whole number from 20 to 100."
std::string settingRefusal(const SettingRule& rule);
// The same for the one-off request, which takes true or false.
std::string resetProtectedRefusal();

// Takes a value for one setting into `settings`, or says why it is refused. A boolean setting takes only a
// boolean, a whole-number setting only an integer (no fraction), a decimal one any finite number; each within
// its bounds.
using SettingValue = std::variant<bool, std::int64_t, double>;
std::optional<std::string> takeSetting(const SettingRule& rule, SettingValue value, Settings& settings);

// Changes a session may not make on its own: turning the limit off, shortening the journal's retention and
// resetting the protected-time counter undo a protection or destroy something kept.
bool needsAdministrator(const Settings& before, const Settings& after, bool resetProtected);

// A settings message read once against the rules: the settings it gives with a value the service takes, and
// its one-off request. A message is taken whole or refused whole; config.json at start is used for its good
// keys even when some are bad.
class SettingsUpdate {
  public:
    // A JSON object from a caller or config.json. Unknown keys are ignored; the first bad one is the refusal.
    static SettingsUpdate read(std::string_view message);

    // The first reason to refuse the message (a bad key, or not an object at all); absent when all is good.
    const std::optional<std::string>& refusal() const { return refusal_; }
    // Not a JSON object at all, so nothing in it was used.
    bool unreadable() const { return unreadable_; }
    bool resetProtected() const { return resetProtected_; }

    // `current` with every good key of the message in it.
    Settings appliedTo(Settings current) const;
    bool needsAdministrator(const Settings& current) const {
        return torvel::needsAdministrator(current, appliedTo(current), resetProtected_);
    }

  private:
    Settings values_;
    std::bitset<settingRules.size()> given_;
    bool resetProtected_ = false;
    bool unreadable_ = false;
    std::optional<std::string> refusal_;
};

}  // namespace torvel
