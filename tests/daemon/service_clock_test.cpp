#include "service_clock.h"

#include <gtest/gtest.h>

namespace torvel::daemon {
namespace {

constexpr double day = 86400;
constexpr Instant start = 1'700'000'000;

// The journal's clock through one wall-clock leap: where lines go, what pruning goes by, and what is set
// aside once the clock comes back.
TEST(JournalClock, ALeapAheadIsBelievedOnlyOnceItHoldsAndPruningNeverRunsAhead) {
    const struct {
        const char* what;
        double boot;  // the boot clock when the service starts; the first ten minutes believe any leap
        double leapFor;
        bool believed;
    } cases[] = {
        {"set wrong and put back within minutes", 3600, 120, false},
        {"set ahead for good", 3600, 2 * day, true},
        {"set at boot", 30, 120, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        JournalClock clock;
        double boot = c.boot;
        EXPECT_EQ(clock.update({start, boot}), start);
        // A month ahead, ticking every five seconds for `leapFor`.
        double lastLine = start;
        for (double spent = 5; spent <= c.leapFor; spent += 5) {
            lastLine = clock.update({start + 31 * day + spent, boot + spent});
            // Pruning goes by the boot clock's pace until the leap has stood for a day.
            EXPECT_LE(clock.pruneTime(), spent < day ? start + spent : lastLine);
        }
        EXPECT_EQ(lastLine > start + 31 * day, c.believed);
        boot += c.leapFor + 5;
        const Instant back = start + c.leapFor + 5;
        EXPECT_EQ(clock.update({back, boot}), back);
        // Lines dated by a believed leap are set aside once the clock comes back, unless it stood a day.
        EXPECT_EQ(clock.undoneLeapSince().has_value(), c.believed && c.leapFor < day);
        EXPECT_LE(clock.pruneTime(), back);
    }
}

TEST(JournalClock, ALeapBackIsBelievedAtOnce) {
    JournalClock clock;
    clock.update({start, 3600});
    EXPECT_EQ(clock.update({start - day, 3605}), start - day);
    EXPECT_FALSE(clock.undoneLeapSince());
    EXPECT_LE(clock.pruneTime(), start - day);
}

}  // namespace
}  // namespace torvel::daemon
