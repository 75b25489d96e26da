#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "history/analysis.h"

namespace torvel::testing {

// Local midnights in Europe/Paris, the zone the tests run in.
constexpr Instant march7 = 1741302000;  // a Friday
constexpr Instant march8 = 1741388400;

inline HistorySample reading(Instant date, std::int64_t pct, std::optional<double> temp = std::nullopt,
                             std::string_view state = "allow", bool plugged = false) {
    return {date, pct, chargeStateNamed(state), plugged, temp};
}

// `count` alike readings a minute apart from `start`.
inline std::vector<HistorySample> steady(Instant start, int count, std::int64_t pct,
                                         std::optional<double> temp = {}, std::string_view state = "allow",
                                         bool plugged = false) {
    std::vector<HistorySample> samples;
    for (int i = 0; i < count; ++i) samples.push_back(reading(start + i * 60.0, pct, temp, state, plugged));
    return samples;
}

// A March 7 report of `count` readings, with the figures the words depend on set by hand.
inline HistoryAnalysis::DayReport report(int count, std::int64_t atFull = 0, std::optional<double> peak = {},
                                         std::int64_t capped = 0) {
    auto report = HistoryAnalysis::report(steady(march7, count, 50), march7, 40);
    report.stress.atFullMinutes = atFull;
    report.maxTemp = peak;
    report.cappedMinutes = capped;
    return report;
}

// A fresh directory, removed with everything in it when the test ends.
class TempDir {
  public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "torvel-history-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& path() const { return path_; }
    void write(const std::string& name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }

  private:
    std::filesystem::path path_;
};

}  // namespace torvel::testing
