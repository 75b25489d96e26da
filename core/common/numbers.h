#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace torvel {

// Halves go away from zero (std::round), and a result that is not finite or does not fit a signed 64-bit
// integer is absent: converting it would be undefined behaviour, and callers treat it as implausible.
inline std::optional<std::int64_t> roundedInteger(double value) {
    if (!std::isfinite(value)) return std::nullopt;
    const double rounded = std::round(value);
    // 2^63 is exactly representable; anything at or beyond it would overflow the conversion.
    constexpr double limit = 9223372036854775808.0;
    if (rounded >= limit || rounded < -limit) return std::nullopt;
    return static_cast<std::int64_t>(rounded);
}

}  // namespace torvel
