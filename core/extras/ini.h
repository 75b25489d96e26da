#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace torvel {

// The few INI files the user's session keeps for Torvel: the XDG autostart entry and the app's own settings
// file. Both are small and written by tools we trust to keep to "key=value" lines under "[group]" headers,
// so anything else on a line is skipped rather than refused.
class IniFile {
  public:
    static IniFile parse(std::string_view text);

    // The value with surrounding white space and one pair of surrounding double quotes removed.
    std::optional<std::string> value(std::string_view group, std::string_view key) const;
    // "true"/"false" (any case), and the "1"/"0" older writers used; absent for anything else.
    std::optional<bool> boolean(std::string_view group, std::string_view key) const;

  private:
    std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>> groups_;
};

}  // namespace torvel
