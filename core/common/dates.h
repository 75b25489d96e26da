#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvel {

// A point in time as seconds since 1970-01-01 00:00 UTC. The journal stores fractional seconds, and every
// computation in core takes its `now` as one of these rather than reading a clock.
using Instant = double;

// Calendar arithmetic in the process's time zone (TZ) with the Gregorian calendar, and locale-aware date
// texts through ICU. Instants that no calendar can place (not finite, or beyond a few million years) give
// absent results instead of undefined conversions.
struct Dates {
    // The local midnight that begins the calendar day containing `instant`.
    static std::optional<Instant> startOfLocalDay(Instant instant);
    // The start of the local day `days` calendar days after the day containing `instant`; a day of 23 or
    // 25 hours around a clock change still moves by exactly one day.
    static std::optional<Instant> addLocalDays(Instant instant, int days);
    // The given whole hour of the local day containing `instant`, so an hour tick stays on the clock's hour
    // on a day of 23 or 25 hours.
    static std::optional<Instant> atLocalHour(Instant instant, int hour);
    // The local calendar day as "yyyy-MM-dd" in Western digits, whatever the display language.
    static std::optional<std::string> isoDay(Instant instant);
    // The start of the local day named "yyyy-MM-dd"; absent for anything else, impossible dates included.
    static std::optional<Instant> parseIsoDay(std::string_view text);

    // The instant formatted from a localised skeleton such as "EEEEdMMMM", in the given locale.
    static std::optional<std::string> fromSkeleton(Instant instant, std::string_view skeleton,
                                                   std::string_view localeId);
    // Several instants from one skeleton: the pattern is looked up once, which is most of the cost.
    static std::vector<std::string> fromSkeleton(const std::vector<Instant>& instants,
                                                 std::string_view skeleton, std::string_view localeId);
    // The locale's short time style ("3:42 PM" in English, with its narrow no-break space).
    static std::optional<std::string> shortTime(Instant instant, std::string_view localeId);
};

}  // namespace torvel
