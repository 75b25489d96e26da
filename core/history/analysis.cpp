#include "history/analysis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {
namespace {

constexpr double weightCapMinutes = 10.0;
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
        return insight(
            "sparkles", Tint::gold, tr("Health projection"),
            trn("One more day of readings before your wear can be projected. Torvel will not guess on "
                "your behalf.",
                "%1 more days of readings before your wear can be projected. Torvel will not guess on "
                "your behalf.",
                std::max<std::int64_t>(remaining, 1), {std::to_string(remaining)}));
    }
    const double score = static_cast<double>(report.stress.score);
    const auto withHabits = truncated(std::max(*healthPercent - (score / 100.0 * 6.0 + 2.0), 0.0));
    const auto withoutLimit = truncated(std::max(*healthPercent - 8.0, 0.0));
    return insight(
        "sparkles", Tint::gold, tr("Projection: %1% in 12 months", {std::to_string(withHabits)}),
        tr("With your current habits. With no charge limit: %1%.", {std::to_string(withoutLimit)}));
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
        if (sample.temp && *sample.temp >= HistoryAnalysis::hotCelsius) hot += weight;
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
    if (samples.size() < 2) return tr("Not enough readings yet");
    if (stress.atFullMinutes >= 30) return tr("Battery stayed at full charge");
    if (isHot(*this)) return tr("A hot day for the battery");
    return tr("An easy day for the battery");
}

std::string HistoryAnalysis::duration(std::int64_t minutes) {
    if (minutes < 60) return tr("%1 min", {std::to_string(minutes)});
    const std::int64_t hours = minutes / 60, rest = minutes % 60;
    if (rest == 0) return tr("%1h", {std::to_string(hours)});
    return tr("%1h %2", {std::to_string(hours), std::to_string(rest)});
}

std::string HistoryAnalysis::summaryLine(const DayReport& report) {
    if (report.samples.size() < 2) {
        return tr(
            "The history has only just started. Today's summary appears as soon as there are a few hours "
            "of readings.");
    }
    const auto full = report.stress.atFullMinutes;
    const std::string verdict = full >= 30      ? tr("Worth watching")
                                : isHot(report) ? tr("Hot day")
                                                : tr("Good day");
    const std::string spent = full == 0 ? tr("0h") : duration(full);
    std::string line = report.maxTemp ? tr("%1: %2 spent at 100%, peak temperature %3 °C.",
                                           {verdict, spent, Fmt::decimal(*report.maxTemp)})
                                      : tr("%1: %2 spent at 100%.", {verdict, spent});
    if (report.cappedMinutes > 5) {
        line += Fmt::separator();
        line += tr("Torvel held the charge at your limit for %1.", {duration(report.cappedMinutes)});
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
            "clock.arrow.circlepath", Tint::text2, tr("The history has only just started"),
            tr("Torvel records the state of the battery continuously. The journal fills up within the first "
               "few hours. Come back a little later."))};
    }
    std::vector<Insight> list;
    const auto full = report.stress.atFullMinutes;
    if (full == 0) {
        const auto stops = report.chargeStops;
        const std::string body =
            stops == 0
                ? tr("The battery never reached 100%. That is the number one wear factor, and today it is at "
                     "zero.")
                : trn("Charging stopped at %1% once. That is the number one wear factor, and today it is at "
                      "zero.",
                      "Charging stopped at %1% %2 times. That is the number one wear factor, and today it is "
                      "at zero.",
                      stops, {std::to_string(limit), std::to_string(stops)});
        list.push_back(insight("checkmark.circle.fill", Tint::mint, tr("No time spent at 100%"), body));
    } else {
        list.push_back(
            insight("exclamationmark.triangle.fill", Tint::gold, tr("%1 at 100%", {duration(full)}),
                    tr("Sitting at full charge is what damages a lithium battery most. A limit at %1% "
                       "would remove that time entirely.",
                       {std::to_string(std::min(limit, 80))})));
    }
    if (report.maxTemp) {
        const std::string peak = Fmt::decimal(*report.maxTemp);
        const auto time =
            report.maxTempDate ? Dates::shortTime(*report.maxTempDate, Fmt::locale()) : std::nullopt;
        std::string title = time ? tr("Peak of %1 °C around %2", {peak, *time}) : tr("Peak of %1 °C", {peak});
        const std::string threshold = std::to_string(thermalLimit);
        if (*report.maxTemp < static_cast<double>(thermalLimit)) {
            list.push_back(insight(
                "thermometer.medium", Tint::text2, std::move(title),
                tr("Well below the %1 °C threshold: overheat protection had nothing to do.", {threshold})));
        } else {
            list.push_back(insight(
                "thermometer.medium", Tint::ember, std::move(title),
                tr("Above the %1 °C threshold: overheat protection paused charging until it came back down.",
                   {threshold})));
        }
    }
    if (report.cyclesUsed > 0.05) {
        std::string body =
            report.cyclesUsed >= 0.6 ? tr("A busy day for the battery.") : tr("No measurable impact.");
        if (cycleCount) {
            body += Fmt::separator();
            body +=
                trn("%1 cycle in total.", "%1 cycles in total.", *cycleCount, {std::to_string(*cycleCount)});
        }
        list.push_back(insight("arrow.triangle.2.circlepath", Tint::text2,
                               tr("%1 cycle used", {Fmt::decimal(report.cyclesUsed)}), std::move(body)));
    }
    if (report.cappedMinutes > 5) {
        list.push_back(insight("leaf.fill", Tint::mint,
                               tr("%1 under your limit", {duration(report.cappedMinutes)}),
                               tr("Time Torvel held the charge below %1% instead of letting it climb.",
                                  {std::to_string(limit)})));
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
