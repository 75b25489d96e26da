#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/dates.h"
#include "history/analysis.h"
#include "history/chart_series.h"
#include "history/store.h"

namespace torvel {

// The decisions behind the history pages: which span each range covers at a given `now`, how finely it is
// charted, when the journal counts as ready, and the reloads that read and analyse the journal. The
// observable model of the app owns the timers and threads and calls these for every decision.
struct HistoryPlan {
    // `year` is the last 365 days: the service keeps a year of journal by default.
    enum class Range { day, week, month, year };
    static constexpr std::array<Range, 4> ranges = {Range::day, Range::week, Range::month, Range::year};

    static constexpr int sparklineBuckets = 80;
    static constexpr double sparklineSeconds = 86'400;
    // Hours of readings in the last day before the journal is announced as ready.
    static constexpr double journalReadyHours = 23.0;
    // The analysis' thermal limit until the settings provide theirs.
    static constexpr int initialThermalLimit = 40;

    static std::string_view rawValue(Range range);
    static std::optional<Range> rangeNamed(std::string_view name);
    // Calendar days from the start of today: 0, -6 (seven days with today), -29 (thirty days with today),
    // -364 (365 days with today).
    static int dayOffset(Range range);
    // One slot a minute for a day, 240 for the longer ranges.
    static int bucketCount(Range range);
    // Start of today plus the range's offset; `now` itself when the calendar cannot place it.
    static Instant rangeStart(Range range, Instant now);
    // The start of tomorrow for `day`, so the day chart always spans a whole day; `now` otherwise.
    static Instant rangeEnd(Range range, Instant now);

    // Hours between the first and the last of the given samples; 0 without samples.
    static double sparklineHours(const std::vector<HistorySample>& samples);
    static bool journalReady(double sparklineHours) { return sparklineHours >= journalReadyHours; }

    // "Friday 7 March" style, from the localised "EEEEdMMMM" template, first letter upper-cased.
    static std::string dayTitle(Instant date);

    struct Today {
        HistoryAnalysis::DayReport today;
        // Today from midnight to midnight, one slot a minute: the today page's chart, whichever range the
        // journal page shows.
        ChartSeries day;
        ChartSeries sparkline;
        double sparklineHours = 0;
        std::int64_t daysRecorded = 0;
    };
    static Today reloadToday(const HistoryStore& store, Instant now, int thermalLimit);

    struct RangeView {
        Instant start = 0;
        Instant end = 0;
        ChartSeries series;
        HistoryAnalysis::DayReport report;
    };
    static RangeView reloadRange(const HistoryStore& store, Range range, Instant now, int thermalLimit);
};

}  // namespace torvel
