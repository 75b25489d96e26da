#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "common/json.h"

namespace torvel {

// The user's thirteen charge settings: what the app sends to the service and the service keeps in
// config.json under the same keys.
struct Settings {
    bool enabled = true;
    int limit = 80;
    bool discharge = false;
    bool led = true;
    double blinkSeconds = 2.0;
    bool thermal = false;
    int thermalLimit = 40;
    bool topUp = false;
    int topUpHours = 0;
    int hysteresis = 5;
    bool history = true;
    int historyDays = 365;
    bool calibrate = false;

    bool operator==(const Settings&) const = default;
};

// Reads config.json leniently: every key that is present with a usable type replaces the value in `current`;
// anything else, an unreadable file included, leaves `current` as it is.
Settings loadSettings(std::string_view configJson, Settings current = {});
Settings settingsFromObject(const json::Value& config, Settings current = {});

// The thirteen keys as JSON values (booleans, integers, blinkSeconds as a number).
json::Value settingsObject(const Settings& settings);

// Keys a caller adds to one save: a present value replaces or adds its key, an absent one removes it.
using SettingsExtra = std::map<std::string, std::optional<json::Value>>;

// The message sent to the service (and the fallback config.json): the settings merged with `extra`,
// keys sorted, compact.
std::string settingsMessage(const Settings& settings, const SettingsExtra& extra = {});

}  // namespace torvel
