#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "battery/snapshot.h"
#include "battery/system_lock.h"
#include "common/view_words.h"
#include "service/charge_settings.h"
#include "status/checkup.h"

namespace torvel {

// The one line under the panel's gauge: a few words, a tone that colours them, and sometimes a longer
// sentence for where the panel has room.
struct PanelState {
    enum class Tone { held, moving, idle, todo, broken };

    std::string text;
    Tone tone = Tone::idle;
    std::optional<std::string> help;

    bool operator==(const PanelState&) const = default;

    // `charge` is the gauge's percentage; of the live snapshot only whether it is plugged in matters.
    static PanelState make(const ChargeSettingsState& settings, ServiceState serviceState,
                           const SystemLock& lock, bool snapshotPluggedIn, long long charge);
};

std::string_view name(PanelState::Tone tone);
// The chip beside the charge: the tone in one word.
std::string toneWord(PanelState::Tone tone);

// The panel's fixed words: the gauge and its scale, the top-up row and the footer's buttons.
ViewWords panelWords(int lowestLimit, int highestLimit);

// One figure under the gauge, with what it measures.
struct PanelReading {
    std::string caption;
    std::string value;
    bool operator==(const PanelReading&) const = default;
};
// Only the figures this battery reports, and today's time at full once the journal holds today.
std::vector<PanelReading> panelReadings(const BatterySnapshot& snapshot,
                                        std::optional<long long> atFullMinutesToday);

// What the top-up switch does now: what turning it on would do, or when the limit comes back.
std::string topUpHelp(bool topUp, int limit);
// The footer's line: quiet while all is well, else the checkup's count of what to look at, pointing on to
// its fix when it has one.
std::string footerLine(const Checkup& checkup);
// The versioned name at the foot of the panel.
std::string versionLine(std::string_view version);

struct PanelStatus {
    // The percentage the charge is heading for: a calibration step's own target first, then a top-up's
    // 100, else the user's limit (not the held one).
    static int target(const ChargeSettingsState& settings);
};

}  // namespace torvel
