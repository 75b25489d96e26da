#include "service_clock.h"

#include <time.h>

#include <algorithm>
#include <cmath>

namespace torvel::daemon {
namespace {

double seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

Moment readClocks() {
    return {seconds(CLOCK_REALTIME), seconds(CLOCK_BOOTTIME)};
}

Instant JournalClock::update(Moment now) {
    undoneLeapSince_.reset();
    if (!last_) {
        last_ = now;
        lineTime_ = pruneTime_ = now.wall;
        return lineTime_;
    }
    const double passed = std::max(0.0, now.boot - last_->boot);
    // A leap ahead that has stood for a day is the time now, whatever comes later; pruning catches up with
    // it.
    const bool stood = aheadSince_ && now.boot - *aheadSince_ > 24 * 3600.0;
    if (stood) aheadSince_.reset();
    if (std::fabs(now.wall - (last_->wall + passed)) > leapSeconds) leapAt_ = now.boot;
    const Instant paced = lineTime_ + passed;
    if (now.wall <= paced + leapSeconds) {
        if (now.wall < paced - leapSeconds && aheadSince_) undoneLeapSince_ = aheadSince_;
        if (now.wall < paced - leapSeconds) aheadSince_.reset();
        lineTime_ = now.wall;
    } else if (now.boot < settleSeconds || (leapAt_ && now.boot - *leapAt_ >= settleSeconds)) {
        if (!aheadSince_) aheadSince_ = now.boot;
        lineTime_ = now.wall;
    } else {
        lineTime_ = paced;
    }
    pruneTime_ = stood ? lineTime_ : std::min(lineTime_, pruneTime_ + passed);
    last_ = now;
    return lineTime_;
}

}  // namespace torvel::daemon
