#include "service/settings_rules.h"

#include <charconv>
#include <cmath>

#include "common/json.h"
#include "common/texts.h"

namespace torvel {
namespace {

// A bound as the user types it: 0.5, 5.
std::string boundText(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return std::string(text, end);
}

std::optional<std::string> take(const BooleanSetting& setting, SettingValue value, Settings& settings) {
    const bool* flag = std::get_if<bool>(&value);
    if (flag == nullptr) return settingRefusal(setting);
    settings.*setting.field = *flag;
    return std::nullopt;
}

std::optional<std::string> take(const IntegerSetting& setting, SettingValue value, Settings& settings) {
    const std::int64_t* number = std::get_if<std::int64_t>(&value);
    if (number == nullptr || *number < setting.low || *number > setting.high) return settingRefusal(setting);
    settings.*setting.field = static_cast<int>(*number);
    return std::nullopt;
}

std::optional<std::string> take(const DecimalSetting& setting, SettingValue value, Settings& settings) {
    std::optional<double> number;
    if (const auto* whole = std::get_if<std::int64_t>(&value)) number = static_cast<double>(*whole);
    if (const auto* decimal = std::get_if<double>(&value)) number = *decimal;
    if (!number || !std::isfinite(*number) || *number < setting.low || *number > setting.high)
        return settingRefusal(setting);
    settings.*setting.field = *number;
    return std::nullopt;
}

// A JSON value as a setting value; absent for a type no setting takes (text, arrays, null).
std::optional<SettingValue> settingValue(const json::Value& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (const auto whole = json::asInteger(value)) return *whole;
    if (const auto number = json::asNumber(value)) return *number;
    return std::nullopt;
}

}  // namespace

const SettingRule* findSettingRule(std::string_view key) {
    for (const auto& rule : settingRules) {
        if (settingKey(rule) == key) return &rule;
    }
    return nullptr;
}

std::string settingRefusal(const SettingRule& rule) {
    struct Words {
        std::string operator()(const BooleanSetting& s) const {
            return tr("The setting %1 must be true or false.", {s.key});
        }
        std::string operator()(const IntegerSetting& s) const {
            return tr("The setting %1 must be a whole number from %2 to %3.",
                      {s.key, std::to_string(s.low), std::to_string(s.high)});
        }
        std::string operator()(const DecimalSetting& s) const {
            return tr("The setting %1 must be a number from %2 to %3.",
                      {s.key, boundText(s.low), boundText(s.high)});
        }
    };
    return std::visit(Words{}, rule);
}

std::string resetProtectedRefusal() {
    return tr("The setting %1 must be true or false.", {resetProtectedKey});
}

std::optional<std::string> takeSetting(const SettingRule& rule, SettingValue value, Settings& settings) {
    return std::visit([&](const auto& setting) { return take(setting, value, settings); }, rule);
}

bool needsAdministrator(const Settings& before, const Settings& after, bool resetProtected) {
    return (before.enabled && !after.enabled) || after.historyDays < before.historyDays || resetProtected;
}

SettingsUpdate SettingsUpdate::read(std::string_view message) {
    SettingsUpdate update;
    const auto object = json::parseObjectStrictly(message);
    if (!object) {
        update.unreadable_ = true;
        // Only a failure is parsed a second time, to say which way the message is wrong.
        update.refusal_ = json::parseObject(message) ? tr("The settings repeat a key or nest too deeply.")
                                                     : tr("The settings are not a JSON object.");
        return update;
    }
    const auto refuse = [&](std::string text) {
        if (!update.refusal_) update.refusal_ = std::move(text);
    };
    for (std::size_t i = 0; i < settingRules.size(); ++i) {
        const json::Value* value = json::member(*object, settingKey(settingRules[i]));
        if (value == nullptr) continue;
        const auto typed = settingValue(*value);
        if (!typed) {
            refuse(settingRefusal(settingRules[i]));
        } else if (auto refusal = takeSetting(settingRules[i], *typed, update.values_)) {
            refuse(std::move(*refusal));
        } else {
            update.given_.set(i);
        }
    }
    if (const json::Value* value = json::member(*object, resetProtectedKey)) {
        if (value->is_boolean()) {
            update.resetProtected_ = value->get<bool>();
        } else {
            refuse(resetProtectedRefusal());
        }
    }
    return update;
}

Settings SettingsUpdate::appliedTo(Settings current) const {
    for (std::size_t i = 0; i < settingRules.size(); ++i) {
        if (!given_.test(i)) continue;
        std::visit([&](const auto& setting) { current.*setting.field = values_.*setting.field; },
                   settingRules[i]);
    }
    return current;
}

}  // namespace torvel
