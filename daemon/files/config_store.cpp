#include "files/config_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "common/syscalls.h"
#include "service/settings_rules.h"

namespace torvel::daemon {
namespace {

std::string mustBe(std::string_view key, std::string_view what) {
    return "The setting " + std::string(key) + " must be " + std::string(what) + ".";
}

// Each takes the value into `settings`, or says why the whole message is refused.
std::optional<std::string> accept(const BooleanSetting& setting, const json::Value& value,
                                  Settings& settings) {
    if (!value.is_boolean()) return mustBe(setting.key, "true or false");
    settings.*setting.field = value.get<bool>();
    return std::nullopt;
}

std::optional<std::string> accept(const IntegerSetting& setting, const json::Value& value,
                                  Settings& settings) {
    const auto number = json::asInteger(value);
    if (!number || *number < setting.low || *number > setting.high) {
        return mustBe(setting.key, "a whole number from " + std::to_string(setting.low) + " to " +
                                       std::to_string(setting.high));
    }
    settings.*setting.field = static_cast<int>(*number);
    return std::nullopt;
}

std::optional<std::string> accept(const DecimalSetting& setting, const json::Value& value,
                                  Settings& settings) {
    const auto number = json::asNumber(value);
    if (!number || *number < setting.low || *number > setting.high) {
        return mustBe(setting.key,
                      "a number from " + boundText(setting.low) + " to " + boundText(setting.high));
    }
    settings.*setting.field = *number;
    return std::nullopt;
}

}  // namespace

std::variant<AcceptedSettings, std::string> validateSettings(std::string_view message,
                                                             const Settings& current) {
    const auto object = json::parseObject(message);
    if (!object) return std::string("The settings are not a JSON object.");
    AcceptedSettings accepted{current, false};

    for (const auto& rule : settingRules) {
        const json::Value* value = json::member(*object, settingKey(rule));
        if (value == nullptr) continue;
        if (auto refusal = std::visit(
                [&](const auto& setting) { return accept(setting, *value, accepted.settings); }, rule)) {
            return *refusal;
        }
    }
    if (const json::Value* value = json::member(*object, resetProtectedKey)) {
        if (!value->is_boolean()) return mustBe(resetProtectedKey, "true or false");
        accepted.resetProtected = value->get<bool>();
    }
    return accepted;
}

ConfigStore::Loaded ConfigStore::load() const {
    int error = 0;
    const auto bytes = readFileNoFollow(file_, error);
    if (!bytes) {
        if (error == ENOENT) return {};
        if (error != ELOOP)
            return {Settings{},
                    systemError("read", file_.filename().string(), error) + "; using the defaults"};
    }
    if (bytes) {
        auto result = validateSettings(*bytes, Settings{});
        if (auto* accepted = std::get_if<AcceptedSettings>(&result))
            return {accepted->settings, std::nullopt};
    }
    // A link or a damaged file: keep it aside under a name no save touches.
    auto bad = file_;
    bad += ".bad";
    if (::rename(file_.c_str(), bad.c_str()) != 0) {
        return {Settings{},
                systemError("set aside", file_.filename().string(), errno) + "; using the defaults"};
    }
    return {Settings{}, file_.filename().string() + " could not be used and was kept as " +
                            bad.filename().string() + "; using the defaults"};
}

FileError ConfigStore::save(const Settings& settings) const {
    return replaceFile(file_, settingsMessage(settings), 0644);
}

}  // namespace torvel::daemon
