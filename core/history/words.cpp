#include "history/words.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "common/fmt.h"

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
    if (hours > 47) return std::to_string(hours / 24) + "d " + std::to_string(hours % 24) + "h";
    return std::to_string(hours) + "h " + std::to_string(minutes) + " min";
}

std::string DayWords::narrative(const HistoryAnalysis::DayReport& report, Instant date,
                                std::optional<double> protectedSeconds) {
    const std::string terminator = Fmt::terminator();
    std::vector<std::string> sentences{HistoryModel::dayTitle(date) + terminator};
    if (report.samples.size() < 2) {
        sentences.push_back("Waiting for readings" + terminator);
    } else {
        const auto full = report.stress.atFullMinutes;
        const std::string phrase = full == 0 ? "Never at 100%" : HistoryAnalysis::duration(full) + " at 100%";
        // The sentence with a peak ends on a plain full stop in every language: its closing text is one
        // localisation key that carries its own punctuation.
        sentences.push_back(report.maxTemp ? phrase + ", peak at " + Fmt::decimal(*report.maxTemp) + " °C."
                                           : phrase + terminator);
        if (report.cappedMinutes >= 6) {
            sentences.push_back("Torvel held your limit for " +
                                HistoryAnalysis::duration(report.cappedMinutes) + ".");
        }
    }
    if (protectedSeconds && *protectedSeconds >= 3600) {
        sentences.push_back("In all, it has protected your battery for " + protectedTotal(*protectedSeconds) +
                            ".");
    }
    return joined(sentences, Fmt::separator());
}

std::string RangeWords::headline(const HistoryAnalysis::DayReport& report, HistoryModel::Range range) {
    struct Wording {
        const char* tooFull;
        const char* hot;
        const char* calm;
    };
    static constexpr Wording week{"A week too often at full charge", "A hot week for the battery",
                                  "A calm week for the battery"};
    static constexpr Wording month{"A month too often at full charge", "A hot month for the battery",
                                   "A calm month for the battery"};
    static constexpr Wording year{"A year too often at full charge", "A hot year for the battery",
                                  "A calm year for the battery"};
    const Wording& words = range == HistoryModel::Range::year    ? year
                           : range == HistoryModel::Range::month ? month
                                                                 : week;
    if (report.samples.size() < 2) return "Not enough readings yet";
    if (report.stress.atFullMinutes >= 30) return words.tooFull;
    if (report.maxTemp && *report.maxTemp >= static_cast<double>(report.thermalLimit)) return words.hot;
    return words.calm;
}

std::string JournalCaption::text(const HistoryAnalysis::DayReport& report) {
    if (report.samples.size() < 2) return "Waiting for readings";
    std::string caption = HistoryAnalysis::duration(report.stress.atFullMinutes) + " at 100%";
    if (report.maxTemp) caption += " · peak " + Fmt::decimal(*report.maxTemp) + " °C";
    return caption;
}

}  // namespace torvel
