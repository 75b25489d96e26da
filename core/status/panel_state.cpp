#include "status/panel_state.h"

#include "common/fmt.h"
#include "common/texts.h"
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

    if (serviceState == ServiceState::stale) return line(tr("Service stopped"), Tone::broken);
    if (serviceState == ServiceState::awaitingApproval) return line(tr("Service to allow"), Tone::todo);
    if (serviceState == ServiceState::notInstalled) return line(tr("Service to install"), Tone::todo);
    if (status.gateVerified == false) return line(tr("Limit not working"), Tone::broken);
    if (status.hot) {
        // Without a temperature the bare "Paused · " is kept on purpose: the heat pause is what matters.
        const std::string temp = status.temp ? Fmt::decimal(*status.temp) + " °C" : "";
        return line(tr("Paused · %1", {temp}), Tone::moving);
    }
    if (status.topUp && charge < 100) return line(tr("Top-up → %1", {Fmt::percent(100)}), Tone::moving);
    if (status.topUp && charge == 100) return line(tr("Top-up · %1", {Fmt::percent(100)}), Tone::held);
    if (status.cal.phase != Phase::idle) return line(tr("Calibrating"), Tone::moving);
    if (!s.settings.enabled) return line(tr("No limit"), Tone::idle);

    const auto state = s.status.state();
    if (state == ChargeState::discharge) return line(tr("Discharging → %1", {heldPct}), Tone::moving);
    if (state == ChargeState::hold) {
        if (held < charge && s.settings.discharge && status.dischargeFailed) {
            return line(tr("Discharge not possible"), Tone::todo,
                        tr("This charger won’t let Torvel cut the power. Unplug and the battery comes back "
                           "down to %1; "
                           "Torvel tries again the next time you plug in.",
                           {heldPct}));
        }
        // "Held at" also while the charge is still below: the service has not caught up yet.
        if (charge <= held) return line(tr("Held at %1", {heldPct}), Tone::held);
        return line(tr("Above %1", {heldPct}), Tone::idle);
    }
    if (state == ChargeState::allow && status.plugged) {
        // The system's own limit never pulls the charge down, so above it there is nothing to announce.
        if (lock.usesNative && held < charge) return line(tr("Plugged in"), Tone::idle);
        if (charge >= held) return line(tr("Held at %1", {heldPct}), Tone::held);
        return line(tr("Charging → %1", {heldPct}), Tone::moving);
    }
    return snapshotPluggedIn ? line(tr("Plugged in"), Tone::idle) : line(tr("On battery"), Tone::idle);
}

}  // namespace

PanelState PanelState::make(const ChargeSettingsState& settings, ServiceState serviceState,
                            const SystemLock& lock, bool snapshotPluggedIn, long long charge) {
    if (lock.active) {
        const std::string major = std::to_string(lock.macOSMajor);
        return line(
            tr("Not on macOS %1 yet", {major}), Tone::todo,
            tr("Torvel can’t hold your limit on macOS %1 yet: your battery charges as it would without "
               "Torvel. Until then, macOS can hold 80% on its own: System Settings ▸ Battery.",
               {major}));
    }
    PanelState state = chargeLine(settings, serviceState, lock, snapshotPluggedIn, charge);
    const auto floor = settings.status.published.nativeFloor;
    if (!state.help && floor && settings.settings.limit < *floor) {
        const std::string floorPct = Fmt::percent(*floor);
        state.help = tr("macOS won’t hold a limit below %1 on this Mac, so Torvel holds %1.", {floorPct});
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
