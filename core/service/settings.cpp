#include "service/settings.h"

#include "service/settings_rules.h"

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
    for (const auto& rule : settingRules) {
        std::visit([&](const auto& setting) { take(current.*setting.field, config, setting.key); }, rule);
    }
    return current;
}

json::Value settingsObject(const Settings& settings) {
    // nlohmann's default object is a sorted map, which gives the sorted keys the service expects.
    json::Value object = json::Value::object();
    forEachSetting(settings,
                   [&](std::string_view key, const auto& value) { object[std::string(key)] = value; });
    return object;
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
