#include "extras/ini.h"

#include <algorithm>
#include <cctype>

#include "common/text.h"

namespace torvel {
namespace {

std::string lowered(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return out;
}

}  // namespace

IniFile IniFile::parse(std::string_view text) {
    IniFile file;
    std::string group;
    while (!text.empty()) {
        const auto newline = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, newline));
        text = newline == std::string_view::npos ? std::string_view() : text.substr(newline + 1);
        if (line.empty() || line.front() == '#' || line.front() == ';') continue;
        if (line.front() == '[' && line.back() == ']') {
            group = std::string(trimmed(line.substr(1, line.size() - 2)));
            continue;
        }
        const auto equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view value = trimmed(line.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        file.groups_[group][std::string(trimmed(line.substr(0, equals)))] = std::string(value);
    }
    return file;
}

std::optional<std::string> IniFile::value(std::string_view group, std::string_view key) const {
    const auto g = groups_.find(group);
    if (g == groups_.end()) return std::nullopt;
    const auto k = g->second.find(key);
    if (k == g->second.end()) return std::nullopt;
    return k->second;
}

std::optional<bool> IniFile::boolean(std::string_view group, std::string_view key) const {
    const auto text = value(group, key);
    if (!text) return std::nullopt;
    const std::string word = lowered(*text);
    if (word == "true" || word == "1") return true;
    if (word == "false" || word == "0") return false;
    return std::nullopt;
}

}  // namespace torvel
