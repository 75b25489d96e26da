#include "status/panel_state.h"

#include "common/fmt.h"
#include "service/charge_target.h"

namespace torvel {
namespace {

using Tone = PanelState::Tone;
using Phase = CalibrationStatus::Phase;

PanelState line(std::string text, Tone tone, std::optional<std::string> help = std::nullopt) {
    return PanelState{.text = std::move(text), .tone = tone, .help = std::move(help)};
}

// Every row after the system-lock one; the floor note is added by the caller.
PanelState chargeLine(const ChargeSettingsState& s, ServiceState serviceState, const SystemLock& lock,
                      bool snapshotPluggedIn, long long charge) {
    const PublishedStatus& status = s.status.published;
    const int held = s.heldLimit();
    const std::string heldPct = Fmt::percent(held);

    if (serviceState == ServiceState::stale) return line("Service stopped", Tone::broken);
    if (serviceState == ServiceState::awaitingApproval) return line("Service to allow", Tone::todo);
    if (serviceState == ServiceState::notInstalled) return line("Service to install", Tone::todo);
    if (status.gateVerified == false) return line("Limit not working", Tone::broken);
    if (status.hot) {
        // Without a temperature the bare "Paused · " is kept on purpose: the heat pause is what matters.
        const std::string temp = status.temp ? Fmt::decimal(*status.temp) + " °C" : "";
        return line("Paused · " + temp, Tone::moving);
    }
    if (status.topUp && charge < 100) return line("Top-up → " + Fmt::percent(100), Tone::moving);
    if (status.topUp && charge == 100) return line("Top-up · " + Fmt::percent(100), Tone::held);
    if (status.cal.phase != Phase::idle) return line("Calibrating", Tone::moving);
    if (!s.settings.enabled) return line("No limit", Tone::idle);

    const auto state = s.status.state();
    if (state == ChargeState::discharge) return line("Discharging → " + heldPct, Tone::moving);
    if (state == ChargeState::hold) {
        if (held < charge && s.settings.discharge && status.dischargeFailed) {
            return line(
                "Discharge not possible", Tone::todo,
                "This charger won’t let Torvel cut the power. Unplug and the battery comes back down to " +
                    heldPct + "; Torvel tries again the next time you plug in.");
        }
        // "Held at" also while the charge is still below: the service has not caught up yet.
        if (charge <= held) return line("Held at " + heldPct, Tone::held);
        return line("Above " + heldPct, Tone::idle);
    }
    if (state == ChargeState::allow && status.plugged) {
        // The system's own limit never pulls the charge down, so above it there is nothing to announce.
        if (lock.usesNative && held < charge) return line("Plugged in", Tone::idle);
        if (charge >= held) return line("Held at " + heldPct, Tone::held);
        return line("Charging → " + heldPct, Tone::moving);
    }
    return snapshotPluggedIn ? line("Plugged in", Tone::idle) : line("On battery", Tone::idle);
}

}  // namespace

PanelState PanelState::make(const ChargeSettingsState& settings, ServiceState serviceState,
                            const SystemLock& lock, bool snapshotPluggedIn, long long charge) {
    if (lock.active) {
        const std::string major = std::to_string(lock.macOSMajor);
        return line("Not on macOS " + major + " yet", Tone::todo,
                    "Torvel can’t hold your limit on macOS " + major +
                        " yet: your battery charges as it would without Torvel. Until then, macOS can hold "
                        "80% on its own: System Settings ▸ Battery.");
    }
    PanelState state = chargeLine(settings, serviceState, lock, snapshotPluggedIn, charge);
    const auto floor = settings.status.published.nativeFloor;
    if (!state.help && floor && settings.settings.limit < *floor) {
        const std::string floorPct = Fmt::percent(*floor);
        state.help =
            "macOS won’t hold a limit below " + floorPct + " on this Mac, so Torvel holds " + floorPct + ".";
    }
    return state;
}

std::string_view name(PanelState::Tone tone) {
    switch (tone) {
        case Tone::held:
            return "held";
        case Tone::moving:
            return "moving";
        case Tone::idle:
            return "idle";
        case Tone::todo:
            return "todo";
        case Tone::broken:
            return "broken";
    }
    return "idle";
}

int PanelStatus::target(const ChargeSettingsState& settings) {
    const PublishedStatus& published = settings.status.published;
    // The user's limit even while limiting is off: the gauge still shows where it would stop.
    return chargeTarget(published.cal, published.topUp, true, settings.settings.limit).value_or(100);
}

}  // namespace torvel
