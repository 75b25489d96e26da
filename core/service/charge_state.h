#pragma once

#include <optional>
#include <string_view>

namespace torvel {

// What the service is doing with the charger. It publishes this as the state word of status.json and writes
// it under "s" in every journal line; the app reads it back from both.
enum class ChargeState { allow, hold, discharge };

std::string_view word(ChargeState state);
// Absent for a word this version does not know (a newer service's, or a hand-edited file).
std::optional<ChargeState> chargeStateNamed(std::string_view word);

}  // namespace torvel
