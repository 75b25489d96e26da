#include "history/history_plan.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "common/fmt.h"

namespace torvel {

std::string_view HistoryPlan::rawValue(Range range) {
    switch (range) {
        case Range::day:
            return "day";
        case Range::week:
            return "week";
        case Range::month:
            return "month";
        case Range::year:
            return "year";
    }
    return "day";
}

std::optional<HistoryPlan::Range> HistoryPlan::rangeNamed(std::string_view name) {
    for (const Range range : ranges) {
        if (rawValue(range) == name) return range;
    }
    return std::nullopt;
}

int HistoryPlan::dayOffset(Range range) {
    switch (range) {
        case Range::day:
            return 0;
        case Range::week:
            return -6;
        case Range::month:
            return -29;
        case Range::year:
            return -364;
    }
    return 0;
}

int HistoryPlan::bucketCount(Range range) {
    return range == Range::day ? 1440 : 240;
}

Instant HistoryPlan::rangeStart(Range range, Instant now) {
    return Dates::addLocalDays(now, dayOffset(range)).value_or(now);
}

Instant HistoryPlan::rangeEnd(Range range, Instant now) {
    if (range != Range::day) return now;
    return Dates::addLocalDays(now, 1).value_or(now);
}

double HistoryPlan::sparklineHours(const std::vector<HistorySample>& samples) {
    if (samples.empty()) return 0;
    return (samples.back().date - samples.front().date) / 3600.0;
}

std::string HistoryPlan::dayTitle(Instant date) {
    const auto formatted = Dates::fromSkeleton(date, "EEEEdMMMM", Fmt::locale());
    if (!formatted) return Dates::isoDay(date).value_or("");
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(*formatted);
    const UChar32 first = text.char32At(0);
    text.replace(0, U16_LENGTH(first), icu::UnicodeString(u_toupper(first)));
    std::string out;
    text.toUTF8String(out);
    return out;
}

HistoryPlan::Today HistoryPlan::reloadToday(const HistoryStore& store, Instant now, int thermalLimit) {
    Today result;
    result.today = HistoryAnalysis::report(store.samples(now), now, thermalLimit);
    result.day = ChartSeries::build(result.today.samples, rangeStart(Range::day, now),
                                    rangeEnd(Range::day, now), bucketCount(Range::day));
    const Instant from = now - sparklineSeconds;
    const auto lastDay = store.samples(from, now);
    result.sparkline = ChartSeries::build(lastDay, from, now, sparklineBuckets);
    result.sparklineHours = sparklineHours(lastDay);
    result.daysRecorded = store.summary().days;
    return result;
}

HistoryPlan::RangeView HistoryPlan::reloadRange(const HistoryStore& store, Range range, Instant now,
                                                int thermalLimit) {
    RangeView view;
    view.start = rangeStart(range, now);
    view.end = rangeEnd(range, now);
    auto samples = store.samples(view.start, view.end);
    view.series = ChartSeries::build(samples, view.start, view.end, bucketCount(range));
    view.report = HistoryAnalysis::report(std::move(samples), view.start, thermalLimit);
    return view;
}

}  // namespace torvel
