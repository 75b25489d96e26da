#include "service/settings.h"

namespace torvel {
namespace {

void take(bool& field, const json::Value& config, std::string_view key) {
    if (auto value = json::boolean(config, key)) field = *value;
}

// An integer setting accepts a number with a fraction too, truncated toward zero (79.9 loads as 79).
void take(int& field, const json::Value& config, std::string_view key) {
    if (auto value = json::toInt(json::truncatedInteger(config, key))) field = *value;
}

void take(double& field, const json::Value& config, std::string_view key) {
    if (auto value = json::number(config, key)) field = *value;
}

}  // namespace

Settings loadSettings(std::string_view configJson, Settings current) {
    const auto config = json::parseObject(configJson);
    return config ? settingsFromObject(*config, current) : current;
}

Settings settingsFromObject(const json::Value& config, Settings current) {
    if (!config.is_object()) return current;
    take(current.enabled, config, "enabled");
    take(current.limit, config, "limit");
    take(current.discharge, config, "discharge");
    take(current.led, config, "led");
    take(current.blinkSeconds, config, "blinkSeconds");
    take(current.thermal, config, "thermal");
    take(current.thermalLimit, config, "thermalLimit");
    take(current.topUp, config, "topUp");
    take(current.topUpHours, config, "topUpHours");
    take(current.hysteresis, config, "hysteresis");
    take(current.history, config, "history");
    take(current.historyDays, config, "historyDays");
    take(current.calibrate, config, "calibrate");
    return current;
}

json::Value settingsObject(const Settings& settings) {
    // nlohmann's default object is a sorted map, which gives the sorted keys the service expects.
    return json::Value{
        {"enabled", settings.enabled},           {"limit", settings.limit},
        {"discharge", settings.discharge},       {"led", settings.led},
        {"blinkSeconds", settings.blinkSeconds}, {"thermal", settings.thermal},
        {"thermalLimit", settings.thermalLimit}, {"topUp", settings.topUp},
        {"topUpHours", settings.topUpHours},     {"hysteresis", settings.hysteresis},
        {"history", settings.history},           {"historyDays", settings.historyDays},
        {"calibrate", settings.calibrate},
    };
}

std::string settingsMessage(const Settings& settings, const SettingsExtra& extra) {
    json::Value message = settingsObject(settings);
    for (const auto& [key, value] : extra) {
        if (value) {
            message[key] = *value;
        } else {
            message.erase(key);
        }
    }
    // Replacing invalid UTF-8 in a caller's string keeps the encoder from failing.
    return message.dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

}  // namespace torvel
