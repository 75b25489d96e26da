#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "common/dates.h"
#include "history/sample.h"

namespace torvel::tools {

// A plausible laptop battery, minute by minute: charge sessions that stop at the limit and hold, plugged
// desk days, days on the road that run deep, warm afternoons, nights asleep with no readings, and the odd
// day the limit is lifted and the battery sits at 100%. The same seed always gives the same journal.
class JournalSimulator {
  public:
    explicit JournalSimulator(std::uint64_t seed, int limit = 80);

    // The readings of the local day starting at `dayStart`, as the service would have written them.
    std::vector<HistorySample> day(Instant dayStart);

  private:
    enum class Kind { desk, mobile, road };

    std::uint64_t next();
    double uniform(double low, double high);
    bool chance(double probability);
    bool pluggedAt(Kind kind, double hour) const;

    std::uint64_t state_;
    int limit_;
    double level_ = 64;
    bool holding_ = false;
};

struct JournalPlan {
    std::uint64_t seed = 1;
    Instant lastDay = 0;  // any instant of the last day written
    int days = 30;
    int limit = 80;
};

// Writes one day file per day, ending with the day of `lastDay`; the number of readings written, or why not.
std::variant<std::int64_t, std::string> writeJournal(const std::filesystem::path& directory,
                                                     const JournalPlan& plan);

}  // namespace torvel::tools
