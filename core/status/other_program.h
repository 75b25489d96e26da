#pragma once

#include <optional>
#include <string>

#include "service/published_status.h"

namespace torvel {

// What the checkup, the troubleshooting page and the Settings page say when another program writes the same
// charge controls as Torvel, and the one fix they offer.
struct OtherProgramNote {
    enum class Action {
        turnOffUPowerThreshold,  // UPower's EnableChargeThreshold(false), then the settings sent again
        sendSettingsAgain,       // an unnamed program: new settings take the controls back
        none,                    // TLP and KDE: the setting to change is in the text
    };

    // "UPower", "TLP", "KDE Plasma" or "Another program".
    std::string program;
    // One or two sentences: who, what it did, and for TLP and KDE the exact setting to change.
    std::string text;
    // The button's title, absent when the fix is a setting the user changes elsewhere.
    std::optional<std::string> fixTitle;
    Action action = Action::none;

    bool operator==(const OtherProgramNote&) const = default;

    // Absent while no other program has been noticed.
    static std::optional<OtherProgramNote> from(const PublishedStatus& status);

    // What the user reads when turning UPower's threshold off failed; `detail` is the system's words.
    static std::string upowerFailed(std::string_view detail);
};

}  // namespace torvel
