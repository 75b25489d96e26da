#include "service/charge_state.h"

#include <array>

namespace torvel {
namespace {

constexpr std::array<std::string_view, 3> words = {"allow", "hold", "discharge"};

}  // namespace

std::string_view word(ChargeState state) {
    return words[static_cast<std::size_t>(state)];
}

std::optional<ChargeState> chargeStateNamed(std::string_view word) {
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index] == word) return static_cast<ChargeState>(index);
    }
    return std::nullopt;
}

}  // namespace torvel
