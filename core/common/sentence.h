#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace torvel {

// A whole sentence with numbered placeholders ("Torvel holds %1 instead of %2."), so that a translation can
// put them where its language wants them. %1 to %9 are replaced by the values in order; anything else stays.
inline std::string fillSentence(std::string_view pattern, std::initializer_list<std::string_view> values) {
    std::string out;
    out.reserve(pattern.size());
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        const auto index = static_cast<std::size_t>(next - '1');
        if (pattern[i] == '%' && next >= '1' && next <= '9' && index < values.size()) {
            out += *(values.begin() + index);
            ++i;
        } else {
            out += pattern[i];
        }
    }
    return out;
}

}  // namespace torvel
