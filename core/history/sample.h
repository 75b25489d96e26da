#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/dates.h"
#include "service/charge_state.h"

namespace torvel {

// One reading of the journal: one line of a day file.
struct HistorySample {
    Instant date = 0;
    std::int64_t pct = 0;
    // Absent for a word this version does not know.
    std::optional<ChargeState> state = ChargeState::allow;
    bool plugged = false;
    // Degrees Celsius; absent when the line carried no usable temperature.
    std::optional<double> temp;

    bool operator==(const HistorySample&) const = default;
};

// The journal line codec, shared by the service that writes the journal and everything that reads it, so
// both sides agree byte for byte.
struct JournalLine {
    // One JSON object with the keys t, p, ct (tenths of a degree, left out without a temperature), s and g,
    // without the line feed that ends it in a day file.
    static std::string encode(const HistorySample& sample);
    // A single line; absent when it is not a usable reading (the rules of the day-file reader).
    static std::optional<HistorySample> parse(std::string_view line);
};

}  // namespace torvel
