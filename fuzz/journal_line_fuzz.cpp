// The day-file reader over arbitrary bytes: it must never crash, must read each line as the single-line
// reader does, and what it reads must survive the writer's encoding unchanged. The analysis and the chart
// run on whatever comes out, absurd dates and percentages included.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "history/analysis.h"
#include "history/chart_series.h"
#include "history/store.h"

namespace {

void check(bool condition) {
    if (!condition) __builtin_trap();
}

bool sameReading(const torvel::HistorySample& a, const torvel::HistorySample& b) {
    if (a.date != b.date || a.pct != b.pct || a.state != b.state || a.plugged != b.plugged) return false;
    if (a.temp.has_value() != b.temp.has_value()) return false;
    return !a.temp || std::fabs(*a.temp - *b.temp) <= 1e-9 * std::max(1.0, std::fabs(*a.temp));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto samples = torvel::HistoryStore::parseDay(bytes);

    // Line by line, the single-line reader finds the same readings (for decodable bytes).
    if (!samples.empty()) {
        std::size_t index = 0;
        for (std::size_t start = 0; start <= bytes.size();) {
            const std::size_t end = std::min(bytes.find('\n', start), bytes.size());
            if (end > start) {
                if (const auto line = torvel::JournalLine::parse(bytes.substr(start, end - start))) {
                    check(index < samples.size() && sameReading(*line, samples[index]));
                    ++index;
                }
            }
            start = end + 1;
        }
        check(index == samples.size());
    }

    for (const auto& sample : samples) {
        const auto back = torvel::JournalLine::parse(torvel::JournalLine::encode(sample));
        check(back.has_value() && sameReading(*back, sample));
    }

    const auto report = torvel::HistoryAnalysis::report(samples, 0, 40);
    (void)torvel::HistoryAnalysis::summaryLine(report);
    const auto series = torvel::ChartSeries::build(report.samples, 0, 86'400, 240);
    for (double position : {0.0, 0.5, 1.0}) (void)series.nearest(position);
    return 0;
}
