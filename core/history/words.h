#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/dates.h"
#include "common/view_words.h"
#include "history/analysis.h"
#include "history/history_plan.h"

namespace torvel {

// The sentences the history pages speak instead of tables. Each is a pure function of a report, in the
// display locale of `Fmt`.
struct DayWords {
    // "5h 12 min" up to 47 hours, then "3d 4h".
    static std::string protectedTotal(double seconds);
    // The day's title, its full-charge and held-limit sentences, and how long the service has protected the
    // battery in all (`protectedSeconds` as the service reports it; absent when it reported nothing).
    static std::string narrative(const HistoryAnalysis::DayReport& report, Instant date,
                                 std::optional<double> protectedSeconds);
};

struct RangeWords {
    // The month and year wordings for their ranges; a day and a week both use the week wording.
    static std::string headline(const HistoryAnalysis::DayReport& report, HistoryPlan::Range range);
};

struct JournalCaption {
    static std::string text(const HistoryAnalysis::DayReport& report);
};

// The figures under the Today and Long memory charts, each a value and what it measures.
struct JournalFigures {
    struct Figure {
        std::string value;
        std::string caption;
    };
    // Stress score, time at full, time held at the limit and, once the service told it, the time protected
    // in all. None while the day has fewer than two readings.
    static std::vector<Figure> today(const HistoryAnalysis::DayReport& report,
                                     std::optional<double> protectedSeconds);
    // The range's rows; none while it has fewer than two readings.
    static std::vector<Figure> range(const HistoryAnalysis::DayReport& report);
    // The range picker's labels, in the order of HistoryPlan::ranges, and the lines of a range not loaded.
    static ViewWords words();
};

}  // namespace torvel
