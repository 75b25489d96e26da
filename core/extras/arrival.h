#pragma once

#include <optional>
#include <string>

#include "common/dates.h"

namespace torvel {

// The charge-arrival overlay's own state: at most one showing at a time, and none within ten seconds of
// the last start, so a loose connector that flickers between plugged and unplugged shows it once.
struct ChargeArrival {
    static constexpr double cooldownSeconds = 10;
    static constexpr double visibleSeconds = 2.2;

    bool showing = false;
    std::optional<Instant> lastShown;

    // A plug-in edge. Returns true when a showing starts now; a dropped event changes nothing, and with no
    // screen to show it on the cooldown is not started either.
    bool flash(Instant now, bool screenAvailable);
    // The overlay has been removed.
    void finished() { showing = false; }
    // A showing asked for on demand ignores the cooldown.
    void forget() {
        showing = false;
        lastShown.reset();
    }

    // What the label compares the charge with: present when settings are known.
    struct Limit {
        bool enabled = false;
        bool systemLocked = false;
        int target = 100;  // where the charge is heading (the panel's target)
    };

    // "{pct}%", or "{pct}% → {target}%" when the limit will stop the charge before the target is passed;
    // absent without a battery reading.
    static std::optional<std::string> label(std::optional<long long> percentage,
                                            const std::optional<Limit>& limit);
};

}  // namespace torvel
