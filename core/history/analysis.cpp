#include "history/analysis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "common/fmt.h"

namespace torvel {
namespace {

constexpr double weightCapMinutes = 10.0;
constexpr double hotCelsius = 35.0;
constexpr std::int64_t fullPct = 100;
constexpr std::int64_t deepPct = 20;

// Truncation toward zero that stays defined for the absurd sums hostile or corrupt dates can produce.
std::int64_t truncated(double value) {
    if (std::isnan(value)) return 0;
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit) return std::numeric_limits<std::int64_t>::max();
    if (value < -limit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

bool isHot(const HistoryAnalysis::DayReport& report) {
    return report.maxTemp && *report.maxTemp >= static_cast<double>(report.thermalLimit);
}

std::string randomId() {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    std::uint64_t high = engine(), low = engine();
    // Version 4, variant 1: a random UUID.
    high = (high & ~0xF000ULL) | 0x4000ULL;
    low = (low & ~(0xC000ULL << 48)) | (0x8000ULL << 48);
    char text[37];
    std::snprintf(text, sizeof text, "%08llx-%04llx-%04llx-%04llx-%012llx",
                  static_cast<unsigned long long>(high >> 32),
                  static_cast<unsigned long long>((high >> 16) & 0xFFFF),
                  static_cast<unsigned long long>(high & 0xFFFF), static_cast<unsigned long long>(low >> 48),
                  static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFULL));
    return text;
}

HistoryAnalysis::Insight insight(std::string icon, HistoryAnalysis::Tint tint, std::string title,
                                 std::string body) {
    return {randomId(), std::move(icon), tint, std::move(title), std::move(body)};
}

HistoryAnalysis::Insight forecast(const HistoryAnalysis::DayReport& report,
                                  std::optional<double> healthPercent, std::int64_t daysRecorded) {
    using Tint = HistoryAnalysis::Tint;
    if (daysRecorded < 14 || !healthPercent) {
        // With the health unknown after two weeks, remaining drops to zero or below and the single-day
        // wording stands: Torvel still has nothing to project from.
        const std::int64_t remaining = 14 - daysRecorded;
        const std::string lead = remaining < 2 ? "One more day" : std::to_string(remaining) + " more days";
        return insight(
            "sparkles", Tint::gold, "Health projection",
            lead + " of readings before your wear can be projected. Torvel will not guess on your behalf.");
    }
    const double score = static_cast<double>(report.stress.score);
    const auto withHabits = truncated(std::max(*healthPercent - (score / 100.0 * 6.0 + 2.0), 0.0));
    const auto withoutLimit = truncated(std::max(*healthPercent - 8.0, 0.0));
    return insight("sparkles", Tint::gold, "Projection: " + std::to_string(withHabits) + "% in 12 months",
                   "With your current habits. With no charge limit: " + std::to_string(withoutLimit) + "%.");
}

}  // namespace

HistoryAnalysis::DayReport HistoryAnalysis::report(std::vector<HistorySample> samples, Instant day,
                                                   int thermalLimit) {
    DayReport report;
    report.day = day;
    report.thermalLimit = thermalLimit;
    double full = 0, deep = 0, hot = 0, capped = 0, throughput = 0;
    const std::size_t n = samples.size();
    for (std::size_t i = 0; i < n; ++i) {
        const HistorySample& sample = samples[i];
        // A gap (asleep, service stopped) counts for at most ten minutes; out-of-order samples are left to
        // subtract, as the service's clock going back is its own signal.
        const double weight =
            i + 1 < n ? std::min((samples[i + 1].date - sample.date) / 60.0, weightCapMinutes) : 0.0;
        if (sample.pct >= fullPct) {
            full += weight;
        } else if (sample.pct <= deepPct) {
            deep += weight;
        }
        if (sample.temp && *sample.temp >= hotCelsius) hot += weight;
        if (sample.state != ChargeState::allow && sample.plugged) capped += weight;
        if (sample.temp && (!report.maxTemp || *sample.temp > *report.maxTemp)) {
            report.maxTemp = sample.temp;
            report.maxTempDate = sample.date;
        }
        report.minPct = report.minPct ? std::min(*report.minPct, sample.pct) : sample.pct;
        report.maxPct = report.maxPct ? std::max(*report.maxPct, sample.pct) : sample.pct;
        if (i > 0) {
            const HistorySample& previous = samples[i - 1];
            // In double: percentages come from files and may be anything, their difference included.
            const double rise = static_cast<double>(sample.pct) - static_cast<double>(previous.pct);
            if (rise >= 1) throughput += rise;
            if (previous.state == ChargeState::allow && sample.state == ChargeState::hold)
                ++report.chargeStops;
        }
    }
    const double score = std::min(hot / 12.0, 25.0) + std::min(full * 0.125, 45.0) +
                         (isHot(report) ? 8.0 : 0.0) + std::min(deep / 6.0, 15.0) +
                         std::min(throughput * 0.12, 15.0);
    report.stress.score = truncated(std::round(std::min(score, 100.0)));
    report.stress.atFullMinutes = truncated(full);
    report.stress.hotMinutes = truncated(hot);
    report.stress.deepMinutes = truncated(deep);
    report.stress.throughput = throughput;
    report.cappedMinutes = truncated(capped);
    report.cyclesUsed = throughput / 100.0;
    if (n > 0)
        report.recordedMinutes =
            std::max(truncated((samples.back().date - samples.front().date) / 60.0), std::int64_t{1});
    report.samples = std::move(samples);
    return report;
}

std::string HistoryAnalysis::DayReport::headline() const {
    if (samples.size() < 2) return "Not enough readings yet";
    if (stress.atFullMinutes >= 30) return "Battery stayed at full charge";
    if (isHot(*this)) return "A hot day for the battery";
    return "An easy day for the battery";
}

std::string HistoryAnalysis::duration(std::int64_t minutes) {
    if (minutes < 60) return std::to_string(minutes) + " min";
    const std::int64_t hours = minutes / 60, rest = minutes % 60;
    if (rest == 0) return std::to_string(hours) + "h";
    return std::to_string(hours) + "h " + std::to_string(rest);
}

std::string HistoryAnalysis::summaryLine(const DayReport& report) {
    if (report.samples.size() < 2) {
        return "The history has only just started. Today's summary appears as soon as there are a few hours "
               "of "
               "readings.";
    }
    const auto full = report.stress.atFullMinutes;
    std::string line = full >= 30 ? "Worth watching" : isHot(report) ? "Hot day" : "Good day";
    line += ": ";
    line += full == 0 ? "0h spent at 100%" : duration(full) + " spent at 100%";
    if (report.maxTemp) line += ", peak temperature " + Fmt::decimal(*report.maxTemp) + " °C";
    line += ".";
    if (report.cappedMinutes > 5) {
        line += Fmt::locale().starts_with("ja") ? "" : " ";
        line += "Torvel held the charge at your limit for " + duration(report.cappedMinutes) + ".";
    }
    return line;
}

std::vector<HistoryAnalysis::Insight> HistoryAnalysis::insights(const DayReport& report, int limit,
                                                                int thermalLimit,
                                                                std::optional<std::int64_t> cycleCount,
                                                                std::optional<double> healthPercent,
                                                                std::int64_t daysRecorded) {
    if (report.samples.size() < 2) {
        return {insight(
            "clock.arrow.circlepath", Tint::text2, "The history has only just started",
            "Torvel records the state of the battery continuously. The journal fills up within the first "
            "few hours. Come back a little later.")};
    }
    std::vector<Insight> list;
    const auto full = report.stress.atFullMinutes;
    if (full == 0) {
        const auto stops = report.chargeStops;
        const std::string first = stops == 0   ? "The battery never reached 100%."
                                  : stops == 1 ? "Charging stopped at " + std::to_string(limit) + "% once."
                                               : "Charging stopped at " + std::to_string(limit) + "% " +
                                                     std::to_string(stops) + " times.";
        list.push_back(insight("checkmark.circle.fill", Tint::mint, "No time spent at 100%",
                               first + " That is the number one wear factor, and today it is at zero."));
    } else {
        list.push_back(insight("exclamationmark.triangle.fill", Tint::gold, duration(full) + " at 100%",
                               "Sitting at full charge is what damages a lithium battery most. A limit at " +
                                   std::to_string(std::min(limit, 80)) +
                                   "% would remove that time entirely."));
    }
    if (report.maxTemp) {
        std::string title = "Peak of " + Fmt::decimal(*report.maxTemp) + " °C";
        if (report.maxTempDate) {
            if (auto time = Dates::shortTime(*report.maxTempDate, Fmt::locale())) title += " around " + *time;
        }
        const std::string threshold = std::to_string(thermalLimit) + " °C threshold";
        if (*report.maxTemp < static_cast<double>(thermalLimit)) {
            list.push_back(
                insight("thermometer.medium", Tint::text2, std::move(title),
                        "Well below the " + threshold + ": overheat protection had nothing to do."));
        } else {
            list.push_back(insight(
                "thermometer.medium", Tint::ember, std::move(title),
                "Above the " + threshold + ": overheat protection paused charging until it came back down."));
        }
    }
    if (report.cyclesUsed > 0.05) {
        std::string body = report.cyclesUsed >= 0.6 ? "A busy day for the battery." : "No measurable impact.";
        if (cycleCount) body += " " + std::to_string(*cycleCount) + " cycles in total.";
        list.push_back(insight("arrow.triangle.2.circlepath", Tint::text2,
                               Fmt::decimal(report.cyclesUsed) + " cycle used", std::move(body)));
    }
    if (report.cappedMinutes > 5) {
        list.push_back(insight(
            "leaf.fill", Tint::mint, duration(report.cappedMinutes) + " under your limit",
            "Time Torvel held the charge below " + std::to_string(limit) + "% instead of letting it climb."));
    }
    list.push_back(forecast(report, healthPercent, daysRecorded));
    return list;
}

std::string_view HistoryAnalysis::paletteName(Tint tint) {
    switch (tint) {
        case Tint::text2:
            return "text2";
        case Tint::mint:
            return "mint";
        case Tint::gold:
            return "gold";
        case Tint::ember:
            return "ember";
    }
    return "text2";
}

}  // namespace torvel
