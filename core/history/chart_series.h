#pragma once

#include <optional>
#include <vector>

#include "common/dates.h"
#include "history/sample.h"

namespace torvel {

// What the charts draw: fixed time slots between `start` (position 0) and `end` (position 1), of which only
// the non-empty ones are kept, in increasing position.
struct ChartSeries {
    struct Bucket {
        double position = 0;
        double pct = 0;
        std::optional<double> temp;
        bool plugged = false;

        bool operator==(const Bucket&) const = default;
    };

    std::vector<Bucket> buckets;
    Instant start = 0;
    Instant end = 0;

    // `samples` in any order; both ends of the span are inclusive, a sample at `to` falling in the last slot.
    static ChartSeries build(const std::vector<HistorySample>& samples, Instant from, Instant to, int count);

    // The bucket under a pointer at `position`, within ten minutes of it; ties go to the earlier bucket.
    std::optional<Bucket> nearest(double position) const;
};

}  // namespace torvel
