#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/dates.h"
#include "history/sample.h"

namespace torvel {

// Turns a day's (or a range's) samples into the wear figures, the verdicts and the insight cards. Pure
// computation: the only times involved are the samples' own dates and the day given by the caller.
struct HistoryAnalysis {
    // A reading at or above this counts toward the hot minutes.
    static constexpr double hotCelsius = 35.0;

    struct Stress {
        std::int64_t score = 0;
        std::int64_t atFullMinutes = 0;
        std::int64_t hotMinutes = 0;
        std::int64_t deepMinutes = 0;
        double throughput = 0;

        bool operator==(const Stress&) const = default;
    };

    struct DayReport {
        Instant day = 0;
        std::vector<HistorySample> samples;
        Stress stress;
        std::optional<double> maxTemp;
        std::optional<Instant> maxTempDate;
        std::int64_t cappedMinutes = 0;
        std::int64_t chargeStops = 0;
        double cyclesUsed = 0;
        std::optional<std::int64_t> minPct;
        std::optional<std::int64_t> maxPct;
        std::int64_t recordedMinutes = 0;
        int thermalLimit = 40;

        std::string headline() const;
    };

    // The colours of the Ember palette an insight may carry.
    enum class Tint { text2, mint, gold, ember };

    struct Insight {
        // Fresh for every computation, so a list view can tell a rebuilt card from the old one.
        std::string id;
        std::string icon;
        Tint tint = Tint::text2;
        std::string title;
        std::string body;
    };

    // `samples` in time order, as the store delivers them.
    static DayReport report(std::vector<HistorySample> samples, Instant day, int thermalLimit);
    static std::string summaryLine(const DayReport& report);
    static std::vector<Insight> insights(const DayReport& report, int limit, int thermalLimit,
                                         std::optional<std::int64_t> cycleCount,
                                         std::optional<double> healthPercent, std::int64_t daysRecorded);
    // "45 min", "2h", "2h 5": the minutes after the hours carry no unit.
    static std::string duration(std::int64_t minutes);

    static std::string_view paletteName(Tint tint);
};

}  // namespace torvel
