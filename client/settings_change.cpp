#include "settings_change.h"

#include <charconv>
#include <cmath>
#include <cstdint>
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
std::optional<Number> parseNumber(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>) {
        if (!std::isfinite(value)) return std::nullopt;
    }
    return value;
}

std::string knownKeys() {
    std::string keys;
    for (const auto& rule : settingRules) keys += std::string(settingKey(rule)) + ", ";
    return keys + std::string(resetProtectedKey);
}

// The typed value a person means by `text` for a setting of this kind; absent when it means none.
std::optional<SettingValue> valueOf(const SettingRule& rule, std::string_view text) {
    if (std::holds_alternative<BooleanSetting>(rule)) {
        if (auto flag = parseBoolean(text)) return *flag;
        return std::nullopt;
    }
    if (std::holds_alternative<IntegerSetting>(rule)) {
        if (auto whole = parseNumber<std::int64_t>(text)) return *whole;
        return std::nullopt;
    }
    if (auto number = parseNumber<double>(text)) return *number;
    return std::nullopt;
}

// One assignment, under the rules and in the words the service itself uses; an error text when it cannot be
// made.
std::optional<std::string> assign(SettingsChange& change, std::string_view key, std::string_view text) {
    if (const SettingRule* rule = findSettingRule(key)) {
        const auto value = valueOf(*rule, text);
        if (!value) return settingRefusal(*rule);
        return takeSetting(*rule, *value, change.settings);
    }
    if (key == resetProtectedKey) {
        const auto reset = parseBoolean(text);
        if (!reset) return resetProtectedRefusal();
        // There is nothing to "not reset": false asks for nothing.
        if (*reset) change.extra[std::string(resetProtectedKey)] = json::Value(true);
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
