#include "status/panel_state.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using Tone = PanelState::Tone;
using Phase = CalibrationStatus::Phase;

// A service that is running and holding at 80% while plugged in: each case changes what it needs.
struct Scene {
    ChargeSettingsState settings;
    ServiceState service = ServiceState::running;
    SystemLock lock;
    bool snapshotPlugged = true;
    long long charge = 80;

    Scene() {
        settings.daemonInstalled = true;
        settings.status.freshness = ServiceStatus::Freshness::fresh;
        settings.status.published.state = ChargeState::hold;
        settings.status.published.plugged = true;
    }
};

struct Case {
    const char* name;
    void (*change)(Scene&);
    const char* text;
    Tone tone;
    std::optional<std::string> help = std::nullopt;
};

const std::string dischargeRefused =
    "This charger won’t let Torvel cut the power. Unplug and the battery comes back down to 80%; "
    "Torvel tries again the next time you plug in.";

TEST(PanelState, DecisionTable) {
    const Case cases[] = {
        {"system lock beats a stopped service",
         [](Scene& s) {
             s.lock.active = true;
             s.lock.macOSMajor = 27;
             s.service = ServiceState::stale;
             s.settings.status.published.nativeFloor = 90;
         },
         "Not on macOS 27 yet", Tone::todo,
         "Torvel can’t hold your limit on macOS 27 yet: your battery charges as it would without Torvel. "
         "Until "
         "then, macOS can hold 80% on its own: System Settings ▸ Battery."},
        {"stale", [](Scene& s) { s.service = ServiceState::stale; }, "Service stopped", Tone::broken},
        {"awaiting approval", [](Scene& s) { s.service = ServiceState::awaitingApproval; },
         "Service to allow", Tone::todo},
        {"not installed", [](Scene& s) { s.service = ServiceState::notInstalled; }, "Service to install",
         Tone::todo},
        {"limit not working", [](Scene& s) { s.settings.status.published.gateVerified = false; },
         "Limit not working", Tone::broken},
        {"verification unknown is not broken",
         [](Scene& s) { s.settings.status.published.gateVerified.reset(); }, "Held at 80%", Tone::held},
        {"hot with a temperature",
         [](Scene& s) {
             s.settings.status.published.hot = true;
             s.settings.status.published.temp = 41.04;
         },
         "Paused · 41.0 °C", Tone::moving},
        {"hot without a temperature keeps the bare form",
         [](Scene& s) { s.settings.status.published.hot = true; }, "Paused · ", Tone::moving},
        {"top-up on the way",
         [](Scene& s) {
             s.settings.status.published.topUp = true;
             s.charge = 99;
         },
         "Top-up → 100%", Tone::moving},
        {"top-up done",
         [](Scene& s) {
             s.settings.status.published.topUp = true;
             s.charge = 100;
         },
         "Top-up · 100%", Tone::held},
        {"calibrating", [](Scene& s) { s.settings.status.published.cal.phase = Phase::soak; }, "Calibrating",
         Tone::moving},
        {"limit off", [](Scene& s) { s.settings.settings.enabled = false; }, "No limit", Tone::idle},
        {"discharging",
         [](Scene& s) {
             s.settings.status.published.state = ChargeState::discharge;
             s.charge = 90;
         },
         "Discharging → 80%", Tone::moving},
        {"discharge refused by the charger",
         [](Scene& s) {
             s.charge = 85;
             s.settings.settings.discharge = true;
             s.settings.status.published.dischargeFailed = true;
         },
         "Discharge not possible", Tone::todo, dischargeRefused},
        {"above, discharge on but not failed",
         [](Scene& s) {
             s.charge = 85;
             s.settings.settings.discharge = true;
         },
         "Above 80%", Tone::idle},
        {"held while still below", [](Scene& s) { s.charge = 70; }, "Held at 80%", Tone::held},
        {"outdated service still shows the charge", [](Scene& s) { s.service = ServiceState::outdated; },
         "Held at 80%", Tone::held},
        {"native limit does not pull down",
         [](Scene& s) {
             s.settings.status.published.state = ChargeState::allow;
             s.lock.usesNative = true;
             s.charge = 85;
         },
         "Plugged in", Tone::idle},
        {"allowed at the limit is held",
         [](Scene& s) {
             s.settings.status.published.state = ChargeState::allow;
             s.charge = 80;
         },
         "Held at 80%", Tone::held},
        {"charging up",
         [](Scene& s) {
             s.settings.status.published.state = ChargeState::allow;
             s.charge = 60;
         },
         "Charging → 80%", Tone::moving},
        {"allow while the service says unplugged",
         [](Scene& s) {
             s.settings.status.published.state = ChargeState::allow;
             s.settings.status.published.plugged = false;
         },
         "Plugged in", Tone::idle},
        {"unknown word on battery",
         [](Scene& s) {
             s.settings.status.published.state.reset();
             s.snapshotPlugged = false;
         },
         "On battery", Tone::idle},
        {"floor note",
         [](Scene& s) {
             s.settings.settings.limit = 50;
             s.settings.status.published.nativeFloor = 80;
         },
         "Held at 80%", Tone::held, "macOS won’t hold a limit below 80% on this Mac, so Torvel holds 80%."},
        {"floor note does not replace a row's own help",
         [](Scene& s) {
             s.settings.settings.limit = 50;
             s.settings.status.published.nativeFloor = 80;
             s.charge = 85;
             s.settings.settings.discharge = true;
             s.settings.status.published.dischargeFailed = true;
         },
         "Discharge not possible", Tone::todo, dischargeRefused},
    };
    for (const auto& c : cases) {
        Scene scene;
        c.change(scene);
        const PanelState state =
            PanelState::make(scene.settings, scene.service, scene.lock, scene.snapshotPlugged, scene.charge);
        EXPECT_EQ(state.text, c.text) << c.name;
        EXPECT_EQ(name(state.tone), name(c.tone)) << c.name;
        EXPECT_EQ(state.help, c.help) << c.name;
    }
}

TEST(PanelStatus, TargetFollowsTheRunThenTheTopUp) {
    struct TargetCase {
        Phase phase;
        bool topUp;
        int expected;
    };
    const TargetCase cases[] = {
        {Phase::idle, false, 70},    {Phase::idle, true, 100},    {Phase::fill, false, 100},
        {Phase::refill, false, 100}, {Phase::soak, false, 100},   {Phase::drain, true, 15},
        {Phase::restore, true, 70},  {Phase::restore, false, 70},
    };
    for (const auto& c : cases) {
        ChargeSettingsState settings;
        settings.settings.limit = 70;
        settings.status.published.nativeFloor = 85;  // the target is the user's limit, not the held one
        settings.status.published.cal.phase = c.phase;
        settings.status.published.topUp = c.topUp;
        EXPECT_EQ(PanelStatus::target(settings), c.expected) << c.phase.wireWord() << " top-up " << c.topUp;
    }
}

TEST(PanelReadings, OnlyWhatTheBatteryAndTheJournalKnow) {
    BatterySnapshot full;
    full.healthPercent = 98;
    full.temperatureCelsius = 30.1;
    full.cycleCount = 123;
    const std::vector<PanelReading> all = {
        {"Health", "98%"}, {"Temperature", "30.1 °C"}, {"Cycles", "123"}, {"At 100% today", "12 min"}};
    EXPECT_EQ(panelReadings(full, 12), all);
    EXPECT_EQ(panelReadings(BatterySnapshot{}, std::nullopt), std::vector<PanelReading>{});
    BatterySnapshot noHealth = full;
    noHealth.healthPercent.reset();
    EXPECT_EQ(panelReadings(noHealth, std::nullopt),
              (std::vector<PanelReading>{{"Temperature", "30.1 °C"}, {"Cycles", "123"}}));
}

}  // namespace
}  // namespace torvel
