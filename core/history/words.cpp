#include "history/words.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {
namespace {

std::int64_t wholeUnits(double value) {
    if (std::isnan(value)) return 0;
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit) return std::numeric_limits<std::int64_t>::max();
    if (value < -limit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string out;
    for (const auto& part : parts) {
        if (!out.empty()) out += separator;
        out += part;
    }
    return out;
}

}  // namespace

std::string DayWords::protectedTotal(double seconds) {
    const std::int64_t hours = wholeUnits(seconds / 3600.0);
    const std::int64_t minutes = wholeUnits((seconds - static_cast<double>(hours) * 3600.0) / 60.0);
    if (hours > 47) return tr("%1d %2h", {std::to_string(hours / 24), std::to_string(hours % 24)});
    return tr("%1h %2 min", {std::to_string(hours), std::to_string(minutes)});
}

std::string DayWords::narrative(const HistoryAnalysis::DayReport& report, Instant date,
                                std::optional<double> protectedSeconds) {
    const std::string terminator = Fmt::terminator();
    std::vector<std::string> sentences{HistoryPlan::dayTitle(date) + terminator};
    if (report.samples.size() < 2) {
        sentences.push_back(tr("Waiting for readings") + terminator);
    } else {
        const auto full = report.stress.atFullMinutes;
        const std::string duration = HistoryAnalysis::duration(full);
        // The sentence with a peak carries its own full stop; the one without takes the locale's.
        if (report.maxTemp) {
            const std::string peak = Fmt::decimal(*report.maxTemp);
            sentences.push_back(full == 0 ? tr("Never at 100%, peak at %1 °C.", {peak})
                                          : tr("%1 at 100%, peak at %2 °C.", {duration, peak}));
        } else {
            sentences.push_back((full == 0 ? tr("Never at 100%") : tr("%1 at 100%", {duration})) +
                                terminator);
        }
        if (report.cappedMinutes >= 6) {
            sentences.push_back(
                tr("Torvel held your limit for %1.", {HistoryAnalysis::duration(report.cappedMinutes)}));
        }
    }
    if (protectedSeconds && *protectedSeconds >= 3600) {
        sentences.push_back(
            tr("In all, it has protected your battery for %1.", {protectedTotal(*protectedSeconds)}));
    }
    return joined(sentences, Fmt::separator());
}

std::string RangeWords::headline(const HistoryAnalysis::DayReport& report, HistoryPlan::Range range) {
    struct Wording {
        std::string_view tooFull;
        std::string_view hot;
        std::string_view calm;
    };
    static constexpr Wording week{trNoop("A week too often at full charge"),
                                  trNoop("A hot week for the battery"),
                                  trNoop("A calm week for the battery")};
    static constexpr Wording month{trNoop("A month too often at full charge"),
                                   trNoop("A hot month for the battery"),
                                   trNoop("A calm month for the battery")};
    static constexpr Wording year{trNoop("A year too often at full charge"),
                                  trNoop("A hot year for the battery"),
                                  trNoop("A calm year for the battery")};
    const Wording& words = range == HistoryPlan::Range::year    ? year
                           : range == HistoryPlan::Range::month ? month
                                                                : week;
    if (report.samples.size() < 2) return tr("Not enough readings yet");
    if (report.stress.atFullMinutes >= 30) return tr(words.tooFull);
    if (report.maxTemp && *report.maxTemp >= static_cast<double>(report.thermalLimit)) return tr(words.hot);
    return tr(words.calm);
}

std::string JournalCaption::text(const HistoryAnalysis::DayReport& report) {
    if (report.samples.size() < 2) return tr("Waiting for readings");
    const std::string duration = HistoryAnalysis::duration(report.stress.atFullMinutes);
    if (report.maxTemp) return tr("%1 at 100% · peak %2 °C", {duration, Fmt::decimal(*report.maxTemp)});
    return tr("%1 at 100%", {duration});
}

std::vector<JournalFigures::Figure> JournalFigures::today(const HistoryAnalysis::DayReport& report,
                                                          std::optional<double> protectedSeconds) {
    if (report.samples.size() < 2) return {};
    std::vector<Figure> figures{
        {tr("%1 / 100", {std::to_string(report.stress.score)}), tr("Stress score")},
        {HistoryAnalysis::duration(report.stress.atFullMinutes), tr("Time at 100%")},
        {HistoryAnalysis::duration(report.cappedMinutes), tr("Held at your limit")},
    };
    if (protectedSeconds)
        figures.push_back({DayWords::protectedTotal(*protectedSeconds), tr("Protected in all")});
    return figures;
}

std::vector<JournalFigures::Figure> JournalFigures::range(const HistoryAnalysis::DayReport& report) {
    if (report.samples.size() < 2) return {};
    std::vector<Figure> figures{
        {HistoryAnalysis::duration(report.stress.atFullMinutes), tr("Time at 100%")},
        {HistoryAnalysis::duration(report.stress.hotMinutes),
         tr("Time at %1 °C or warmer", {Fmt::decimal(HistoryAnalysis::hotCelsius)})},
        {HistoryAnalysis::duration(report.cappedMinutes), tr("Held at your limit")},
        {Fmt::decimal(report.cyclesUsed), tr("Charge cycles used")},
    };
    if (report.maxTemp)
        figures.push_back({tr("%1 °C", {Fmt::decimal(*report.maxTemp)}), tr("Peak temperature")});
    if (report.minPct && report.maxPct) {
        figures.push_back({tr("%1 – %2", {Fmt::percent(*report.minPct), Fmt::percent(*report.maxPct)}),
                           tr("Charge range")});
    }
    return figures;
}

ViewWords JournalFigures::words() {
    return {
        {"day", tr("Day")},
        {"week", tr("Week")},
        {"month", tr("Month")},
        {"year", tr("Year")},
        {"noRangeHeadline", tr("Not enough readings yet")},
        {"noRangeCaption", tr("Waiting for readings")},
        {"whatStoodOut", tr("What stood out")},
        {"range", tr("Range")},
        {"inFigures", tr("In figures")},
        {"figuresSoon", tr("The figures appear as soon as this range holds a few hours of readings.")},
        {"figuresSource",
         tr("Every figure comes from the journal Torvel keeps on this machine. It never leaves it.")},
        {"daysRecorded", tr("Days recorded")},
        {"measuredCapacity", tr("Measured capacity")},
    };
}

}  // namespace torvel
