#pragma once

#include <optional>

#include "common/dates.h"

namespace torvel::daemon {

// One look at the service's two clocks. `wall` dates what is written down (status, journal, log); `boot`
// (CLOCK_BOOTTIME: it counts suspend and nobody sets it) measures every span the service times, so a change
// of the wall clock neither cuts one short nor draws one out.
struct Moment {
    Instant wall = 0;
    double boot = 0;
};

// Both clocks, now.
Moment readClocks();

// The wall clock as the journal may go by it. A leap of the wall clock against the boot clock is believed
// once it has held for `settleSeconds` (a clock set right stays right; one set wrong by mistake is usually
// put back soon); until then time goes on from before the leap at the boot clock's pace. A leap back is
// believed at once: it can only make the journal keep more.
class JournalClock {
  public:
    // A gap between the clocks' paces larger than this is a leap, not drift.
    static constexpr double leapSeconds = 5;
    // Longer than the journal's widest gap between lines, so a short-lived leap leaves no line behind. The
    // clock is set at boot as a rule (RTC then NTP): in the machine's first minutes every leap is believed.
    static constexpr double settleSeconds = 600;

    // The time a journal line taken now carries.
    Instant update(Moment now);
    // The time pruning goes by: never later than the line time, and no further on than the boot clock has
    // moved until a leap ahead has stood for a day: a leap, believed or not, deletes nothing before its time.
    Instant pruneTime() const { return pruneTime_; }
    // When the last update came back from a leap ahead that had been believed: the boot time since which
    // lines were dated by it. Absent otherwise.
    std::optional<double> undoneLeapSince() const { return undoneLeapSince_; }

  private:
    std::optional<Moment> last_;
    Instant lineTime_ = 0;
    Instant pruneTime_ = 0;
    std::optional<double> leapAt_;
    std::optional<double> aheadSince_;
    std::optional<double> undoneLeapSince_;
};

}  // namespace torvel::daemon
