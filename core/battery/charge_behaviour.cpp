#include "battery/charge_behaviour.h"

#include <algorithm>

namespace torvel {

std::optional<ChargeBehaviour> ChargeBehaviour::parse(std::string_view text) {
    ChargeBehaviour behaviour;
    bool sawCurrent = false;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t begin = text.find_first_not_of(" \t\n", position);
        if (begin == std::string_view::npos) break;
        std::size_t end = text.find_first_of(" \t\n", begin);
        if (end == std::string_view::npos) end = text.size();
        std::string_view word = text.substr(begin, end - begin);
        position = end;

        const bool opens = word.front() == '[';
        const bool closes = word.back() == ']';
        if (opens != closes) return std::nullopt;
        if (opens) {
            if (sawCurrent || word.size() < 3) return std::nullopt;
            word = word.substr(1, word.size() - 2);
            behaviour.current = std::string(word);
            sawCurrent = true;
        }
        if (word.find_first_of("[]") != std::string_view::npos) return std::nullopt;
        behaviour.offered.emplace_back(word);
    }
    if (!sawCurrent) return std::nullopt;
    return behaviour;
}

bool ChargeBehaviour::offers(std::string_view value) const {
    return std::find(offered.begin(), offered.end(), value) != offered.end();
}

}  // namespace torvel
