#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "battery/system_lock.h"
#include "service/charge_settings.h"

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

struct PanelStatus {
    // The percentage the charge is heading for: a calibration step's own target first, then a top-up's
    // 100, else the user's limit (not the held one).
    static int target(const ChargeSettingsState& settings);
};

}  // namespace torvel
