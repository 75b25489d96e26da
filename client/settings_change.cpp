#include "settings_change.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <set>
#include <string_view>
#include <type_traits>

#include "service/settings_rules.h"

namespace torvel::client {
namespace {

std::optional<bool> parseBoolean(std::string_view text) {
    if (text == "true" || text == "on" || text == "yes" || text == "1") return true;
    if (text == "false" || text == "off" || text == "no" || text == "0") return false;
    return std::nullopt;
}

template <typename Number>
std::optional<Number> parseWhole(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>) {
        if (!std::isfinite(value)) return std::nullopt;
    }
    return value;
}

std::string badValue(std::string_view key, std::string_view value, std::string_view expected) {
    return "bad value for " + std::string(key) + ": '" + std::string(value) + "' (expected " +
           std::string(expected) + ")";
}

std::string knownKeys() {
    std::string keys;
    for (const auto& rule : settingRules) keys += std::string(settingKey(rule)) + ", ";
    return keys + std::string(resetProtectedKey);
}

std::optional<std::string> assign(const BooleanSetting& setting, std::string_view value, Settings& settings) {
    const auto parsed = parseBoolean(value);
    if (!parsed) return badValue(setting.key, value, "true or false");
    settings.*setting.field = *parsed;
    return std::nullopt;
}

std::optional<std::string> assign(const IntegerSetting& setting, std::string_view value, Settings& settings) {
    const auto parsed = parseWhole<long long>(value);
    if (!parsed || *parsed < setting.low || *parsed > setting.high) {
        return badValue(
            setting.key, value,
            "a whole number from " + std::to_string(setting.low) + " to " + std::to_string(setting.high));
    }
    settings.*setting.field = static_cast<int>(*parsed);
    return std::nullopt;
}

std::optional<std::string> assign(const DecimalSetting& setting, std::string_view value, Settings& settings) {
    const auto parsed = parseWhole<double>(value);
    if (!parsed || *parsed < setting.low || *parsed > setting.high) {
        return badValue(setting.key, value,
                        "seconds from " + boundText(setting.low) + " to " + boundText(setting.high));
    }
    settings.*setting.field = *parsed;
    return std::nullopt;
}

// One assignment; an error text when it cannot be made.
std::optional<std::string> assign(SettingsChange& change, std::string_view key, std::string_view value) {
    for (const auto& rule : settingRules) {
        if (settingKey(rule) != key) continue;
        return std::visit([&](const auto& setting) { return assign(setting, value, change.settings); }, rule);
    }
    if (key == resetProtectedKey) {
        // Only a reset can be asked for; there is nothing to "not reset".
        if (parseBoolean(value) != true) return badValue(key, value, "true");
        change.extra[std::string(resetProtectedKey)] = json::Value(true);
        return std::nullopt;
    }
    return "unknown setting '" + std::string(key) + "' (known: " + knownKeys() + ")";
}

}  // namespace

std::variant<SettingsChange, std::string> changeSettings(const Settings& current,
                                                         const std::vector<std::string>& assignments) {
    if (assignments.empty()) return std::string("nothing to set (give KEY=VALUE)");
    SettingsChange change{current, {}};
    std::set<std::string_view> seen;
    for (const std::string& assignment : assignments) {
        const auto equals = assignment.find('=');
        if (equals == std::string::npos || equals == 0) {
            return "'" + assignment + "' is not KEY=VALUE";
        }
        const std::string_view key = std::string_view(assignment).substr(0, equals);
        if (!seen.insert(key).second) return std::string(key) + " given twice";
        if (auto error = assign(change, key, std::string_view(assignment).substr(equals + 1))) return *error;
    }
    return change;
}

}  // namespace torvel::client
