#include "extras/arrival.h"

#include "common/fmt.h"

namespace torvel {

bool ChargeArrival::flash(Instant now, bool screenAvailable) {
    if (showing) return false;
    if (lastShown && now - *lastShown < cooldownSeconds) return false;
    if (!screenAvailable) return false;
    showing = true;
    lastShown = now;
    return true;
}

std::optional<std::string> ChargeArrival::label(std::optional<long long> percentage,
                                                const std::optional<Limit>& limit) {
    if (!percentage) return std::nullopt;
    const std::string pct = Fmt::percent(*percentage);
    if (limit && limit->enabled && !limit->systemLocked && *percentage < limit->target) {
        return pct + " → " + Fmt::percent(limit->target);
    }
    return pct;
}

}  // namespace torvel
