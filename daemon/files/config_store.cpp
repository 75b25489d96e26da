#include "files/config_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <vector>

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

namespace {

// Every refusal of the message, one per bad key; the settings keep whatever the good keys said.
std::vector<std::string> takeSettings(const json::Value& object, AcceptedSettings& accepted) {
    std::vector<std::string> refusals;
    for (const auto& rule : settingRules) {
        const json::Value* value = json::member(object, settingKey(rule));
        if (value == nullptr) continue;
        if (auto refusal = std::visit(
                [&](const auto& setting) { return accept(setting, *value, accepted.settings); }, rule)) {
            refusals.push_back(*refusal);
        }
    }
    if (const json::Value* value = json::member(object, resetProtectedKey)) {
        if (!value->is_boolean()) {
            refusals.push_back(mustBe(resetProtectedKey, "true or false"));
        } else {
            accepted.resetProtected = value->get<bool>();
        }
    }
    return refusals;
}

std::optional<json::Value> parseSettings(std::string_view message, std::string& refusal) {
    auto object = json::parseObjectStrictly(message);
    if (!object) {
        refusal = json::parseObject(message) ? "The settings repeat a key or nest too deeply."
                                             : "The settings are not a JSON object.";
    }
    return object;
}

}  // namespace

std::variant<AcceptedSettings, std::string> validateSettings(std::string_view message,
                                                             const Settings& current) {
    std::string refusal;
    const auto object = parseSettings(message, refusal);
    if (!object) return refusal;
    AcceptedSettings accepted{current, false};
    if (auto refusals = takeSettings(*object, accepted); !refusals.empty()) return refusals.front();
    return accepted;
}

bool isProtectedChange(std::string_view message, const Settings& current) {
    const auto validated = validateSettings(message, current);
    const auto* accepted = std::get_if<AcceptedSettings>(&validated);
    // A message that will be refused changes nothing, whoever sends it.
    if (accepted == nullptr) return false;
    return (current.enabled && !accepted->settings.enabled) ||
           accepted->settings.historyDays < current.historyDays || accepted->resetProtected;
}

ConfigStore::Loaded ConfigStore::load() const {
    int error = 0;
    const auto bytes = readFileNoFollow(file_, error, maxFileBytes);
    if (!bytes) {
        if (error == ENOENT) return {};
        // A link, a FIFO or a device, or a file far larger than any settings: set aside like a damaged one.
        if (error != ELOOP && error != EFBIG && error != EINVAL)
            return {Settings{},
                    systemError("read", file_.filename().string(), error) + "; using the defaults"};
    }
    AcceptedSettings accepted;
    std::vector<std::string> refusals{"unreadable"};
    if (bytes) {
        std::string refusal;
        if (const auto object = parseSettings(*bytes, refusal)) refusals = takeSettings(*object, accepted);
    }
    if (refusals.empty()) return {accepted.settings, std::nullopt};
    const bool partly = bytes && refusals.front() != "unreadable";
    auto kept = keepAside(file_);
    if (!kept) {
        return {accepted.settings, systemError("set aside", file_.filename().string(), errno) +
                                       (partly ? "; using its valid settings" : "; using the defaults")};
    }
    std::string note =
        file_.filename().string() + " could not be used " + (partly ? "whole " : "") + "and was kept as " +
        kept->filename().string() +
        (partly ? "; using its valid settings (" + refusals.front() + ")" : "; using the defaults");
    // The app reads config.json too: it must find the settings in force, not fall back to its defaults.
    if (accepted.settings != Settings{}) {
        if (auto failure = save(accepted.settings)) note += "; " + *failure;
    }
    return {accepted.settings, note};
}

FileError ConfigStore::save(const Settings& settings) const {
    return replaceFile(file_, settingsMessage(settings), 0644);
}

}  // namespace torvel::daemon
