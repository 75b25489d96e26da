#pragma once

#include <string>
#include <variant>
#include <vector>

#include "service/settings.h"

namespace torvel::client {

// Settings changed by name, as `torvelctl set limit=75 thermal=on` asks.
struct SettingsChange {
    Settings settings;    // the current settings with every assignment made
    SettingsExtra extra;  // the one-off requests that are not settings (resetProtected)
};

// Applies KEY=VALUE assignments to `current`. The first unknown key, malformed value or value out of the
// service's range ends it with one line naming it; a value is refused in the service's own words.
std::variant<SettingsChange, std::string> changeSettings(const Settings& current,
                                                         const std::vector<std::string>& assignments);

}  // namespace torvel::client
