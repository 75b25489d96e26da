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

std::string toneWord(PanelState::Tone tone) {
    switch (tone) {
        case Tone::held:
            return tr("Held");
        case Tone::moving:
            return tr("Moving");
        case Tone::idle:
            return tr("Idle");
        case Tone::todo:
            return tr("To do");
        case Tone::broken:
            return tr("Broken");
    }
    return tr("Idle");
}

ViewWords panelWords(int lowestLimit, int highestLimit) {
    return {
        {"lowest", Fmt::percent(lowestLimit)},
        {"highest", Fmt::percent(highestLimit)},
        {"chargeLimit", tr("Charge limit")},
        {"nativeRange", tr("macOS: 80 to 100%, in steps of 5")},
        {"topUp", tr("Top-up")},
        {"topUpOnce", tr("%1 once", {Fmt::percent(100)})},
        {"lastDay", tr("Last 24 hours")},
        {"mac", tr("This Mac")},
        {"today", tr("Today")},
        {"settings", tr("Settings")},
        {"quit", tr("Quit Torvel")},
    };
}

std::vector<PanelReading> panelReadings(const BatterySnapshot& snapshot,
                                        std::optional<long long> atFullMinutesToday) {
    std::vector<PanelReading> figures;
    if (snapshot.healthPercent) figures.push_back({tr("Health"), Fmt::percent(*snapshot.healthPercent)});
    if (snapshot.temperatureCelsius) {
        figures.push_back({tr("Temperature"), tr("%1 °C", {Fmt::decimal(*snapshot.temperatureCelsius)})});
    }
    if (snapshot.cycleCount) figures.push_back({tr("Cycles"), std::to_string(*snapshot.cycleCount)});
    if (atFullMinutesToday) {
        figures.push_back(
            {tr("At %1 today", {Fmt::percent(100)}), tr("%1 min", {std::to_string(*atFullMinutesToday)})});
    }
    return figures;
}

std::string topUpHelp(bool topUp, int limit) {
    if (!topUp) return tr("Charge to %1 once, then go back to your limit", {Fmt::percent(100)});
    return tr("Back to %1 when you unplug", {Fmt::percent(limit)});
}

std::string footerLine(const Checkup& checkup) {
    const Checkup::Level level = checkup.level();
    if (level == Checkup::Level::ok || level == Checkup::Level::off) return tr("Service running");
    if (checkup.fix()) return tr("%1 →", {checkup.summary()});
    return checkup.summary();
}

std::string versionLine(std::string_view version) {
    return tr("Torvel %1", {version});
}

int PanelStatus::target(const ChargeSettingsState& settings) {
    const PublishedStatus& published = settings.status.published;
    // The user's limit even while limiting is off: the gauge still shows where it would stop.
    return chargeTarget(published.cal, published.topUp, true, settings.settings.limit).value_or(100);
}

}  // namespace torvel
