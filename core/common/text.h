#pragma once

#include <cctype>
#include <string_view>

namespace torvel {

// The text without leading or trailing white space (ASCII: the files read here are ASCII at their edges).
inline std::string_view trimmed(std::string_view text) {
    const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

}  // namespace torvel
