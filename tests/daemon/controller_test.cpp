#include "control/controller.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "battery_model.h"

namespace torvel::daemon {
namespace {

using sim::BatteryOptions;
using sim::SimulatedBattery;
using Phase = CalibrationStatus::Phase;

// A simulated battery and a controller ticking every five seconds of fake time.
struct Rig {
    explicit Rig(BatteryOptions options = {}, Settings settings = {}, ControlMemory memory = {})
        : battery(std::move(options)),
          controller(battery, std::move(memory), [this](std::string_view line) { log.emplace_back(line); }) {
        controller.setSettings(settings);
        controller.tick(now);
    }

    void run(double seconds, double step = 5) {
        for (double done = 0; done < seconds; done += step) {
            battery.advance(step);
            now += step;
            controller.tick(now);
        }
    }
    // Runs until `done` holds or `limit` seconds pass; returns whether it held.
    template <typename Condition>
    bool runUntil(Condition done, double limit) {
        for (double spent = 0; spent < limit; spent += 5) {
            if (done()) return true;
            run(5);
        }
        return done();
    }
    const ControlView& view() const { return controller.view(); }

    SimulatedBattery battery;
    std::vector<std::string> log;
    Instant now = 1'700'000'000;
    ChargeController controller;
};

Settings withLimit(int limit) {
    Settings settings;
    settings.limit = limit;
    return settings;
}

TEST(ChargeController, HoldsTheLimitWithThresholdsAndVerifiesTheGate) {
    Rig rig({.startPercent = 50}, withLimit(80));
    rig.run(4 * 3600);
    EXPECT_EQ(rig.battery.endThresholdValue(), 80);
    EXPECT_EQ(rig.battery.startThresholdValue(), 75);
    EXPECT_EQ(rig.view().pct, 80);
    EXPECT_EQ(rig.view().state, "hold");
    EXPECT_EQ(rig.view().gateVerified, true);
    EXPECT_GT(rig.view().protectedSeconds, 3600);
    EXPECT_EQ(rig.view().chargeMode, "thresholds+behaviour");
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
}

TEST(ChargeController, GateIsFalseWhenChargingGoesOnPastTheLimit) {
    // A driver that accepts the thresholds and ignores them: the pack keeps charging.
    Rig rig({.startPercent = 85, .behaviours = {}}, withLimit(80));
    rig.battery.setThreshold(Threshold::end, 100);  // the firmware forgets at once
    for (int i = 0; i < 20; ++i) {
        rig.battery.firmwareReset();
        rig.battery.setPercent(85 + i * 0.2);
        rig.run(5);
    }
    EXPECT_EQ(rig.view().gateVerified, false);
}

TEST(ChargeController, OrdersThresholdWritesSoStartNeverExceedsEnd) {
    struct Case {
        int fromStart, fromEnd, limit;
        std::vector<std::string> writes;
    };
    const Case cases[] = {
        {0, 100, 80, {"start=75", "end=80"}},  // narrowing from the full range: start first
        {75, 80, 95, {"end=95", "start=90"}},  // new start 90 >= current end 80: end first
        {90, 95, 25, {"start=20", "end=25"}},  // moving down: start first
        {20, 25, 25, {}},                      // already there: nothing written
        {70, 75, 80, {"end=80", "start=75"}},  // new start equals current end: end first
    };
    for (const auto& c : cases) {
        SimulatedBattery battery({.startPercent = 50, .behaviours = {}});
        ASSERT_FALSE(battery.setThreshold(Threshold::end, c.fromEnd));
        ASSERT_FALSE(battery.setThreshold(Threshold::start, c.fromStart));
        battery.clearWrites();
        ChargeController controller(battery, {}, {});
        controller.setSettings(withLimit(c.limit));
        controller.tick(0);
        EXPECT_EQ(battery.writes(), c.writes) << c.fromStart << "/" << c.fromEnd << " -> " << c.limit;
    }
}

TEST(ChargeController, PublishesTheFloorOfAClampingDriverAndDoesNotRewriteIt) {
    Rig rig({.startPercent = 60, .behaviours = {}, .thresholdStep = 5, .minEnd = 55}, withLimit(50));
    EXPECT_EQ(rig.battery.endThresholdValue(), 55);
    EXPECT_EQ(rig.view().nativeFloor, 55);
    const auto writes = rig.battery.writes().size();
    rig.run(600);
    EXPECT_EQ(rig.battery.writes().size(), writes);
}

TEST(ChargeController, ReappliesWhatTheFirmwareForgot) {
    Rig rig({.startPercent = 60}, withLimit(70));
    rig.run(60);
    rig.battery.firmwareReset();
    rig.run(5);
    EXPECT_EQ(rig.battery.endThresholdValue(), 70);
    EXPECT_EQ(rig.battery.startThresholdValue(), 65);
}

TEST(ChargeController, HoldsWithChargeBehaviourWhenThereAreNoThresholds) {
    Rig rig({.startPercent = 70, .endThreshold = false}, withLimit(80));
    ASSERT_TRUE(rig.runUntil([&] { return rig.battery.behaviourValue() == "inhibit-charge"; }, 4 * 3600));
    rig.run(5);
    EXPECT_EQ(rig.view().pct, 80);
    EXPECT_EQ(rig.view().state, "hold");
    EXPECT_EQ(rig.view().chargeMode, "behaviour");
    // Charging comes back only below limit - hysteresis.
    rig.battery.plug(false);
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct < 75; }, 4 * 3600));
    rig.battery.plug(true);
    rig.run(5);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.view().state, "allow");
}

TEST(ChargeController, RefusedBehaviourIsLoggedOnceNotOnEveryTick) {
    // Offers force-discharge on paper but the driver refuses inhibit-charge: the heat pause cannot write it.
    Settings settings = withLimit(80);
    settings.thermal = true;
    settings.thermalLimit = 30;
    Rig rig({.startPercent = 50, .behaviours = {"auto", "force-discharge"}}, settings);
    rig.battery.setExtraHeat(10);
    rig.run(300);
    EXPECT_TRUE(rig.view().hot);
    // Without inhibit-charge the heat pause lowers the end threshold to the present charge instead.
    EXPECT_EQ(rig.battery.endThresholdValue(), rig.view().pct);
    EXPECT_TRUE(rig.log.empty()) << rig.log.front();
}

TEST(ChargeController, ForcedDischargeRunsDownToTheTargetThenHolds) {
    Settings settings = withLimit(80);
    settings.discharge = true;
    Rig rig({.startPercent = 95}, settings);
    EXPECT_EQ(rig.battery.behaviourValue(), "force-discharge");
    rig.run(30);
    EXPECT_EQ(rig.view().state, "discharge");
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct <= 80; }, 3 * 3600));
    rig.run(5);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.view().state, "hold");
    EXPECT_FALSE(rig.view().dischargeFailed);
}

TEST(ChargeController, ACutThatDoesNotHoldFailsWithinFifteenSecondsAndRetriesAtNextPlugIn) {
    Settings settings = withLimit(80);
    settings.discharge = true;
    Rig rig({.startPercent = 95, .forceDischargeCuts = false}, settings);
    EXPECT_EQ(rig.battery.behaviourValue(), "force-discharge");
    rig.run(15);
    EXPECT_TRUE(rig.view().dischargeFailed);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.view().state, "hold");
    EXPECT_TRUE(rig.view().dischargeSupported);

    rig.battery.clearWrites();
    rig.run(600);
    EXPECT_TRUE(rig.battery.writes().empty()) << "retried while still plugged in";

    rig.battery.plug(false);
    rig.run(5);
    rig.battery.plug(true);
    rig.run(5);
    EXPECT_EQ(rig.battery.writes(), std::vector<std::string>{"behaviour=force-discharge"});
    rig.run(15);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
}

TEST(ChargeController, ForcedDischargeNeverOutlivesItsReason) {
    struct Case {
        const char* name;
        void (*interrupt)(Rig&);
        // The service stops after shutdown; every other interruption is seen on the next tick.
        bool tickAfter = true;
    };
    const Case cases[] = {
        {"unplugged", [](Rig& rig) { rig.battery.plug(false); }},
        {"discharge switched off",
         [](Rig& rig) {
             Settings settings = rig.controller.settings();
             settings.discharge = false;
             rig.controller.setSettings(settings);
         }},
        {"limit disabled",
         [](Rig& rig) {
             Settings settings = rig.controller.settings();
             settings.enabled = false;
             rig.controller.setSettings(settings);
         }},
        {"released", [](Rig& rig) { EXPECT_FALSE(rig.controller.release()); }},
        {"service stopping", [](Rig& rig) { EXPECT_FALSE(rig.controller.shutdown()); }, false},
    };
    for (const auto& c : cases) {
        Settings settings = withLimit(60);
        settings.discharge = true;
        Rig rig({.startPercent = 95}, settings);
        rig.run(60);
        ASSERT_EQ(rig.view().state, "discharge") << c.name;
        c.interrupt(rig);
        if (!c.tickAfter) {
            EXPECT_EQ(rig.battery.behaviourValue(), "auto") << c.name;
            continue;
        }
        rig.run(5);
        EXPECT_EQ(rig.battery.behaviourValue(), "auto") << c.name;
        EXPECT_NE(rig.view().state, "discharge") << c.name;
    }
}

TEST(ChargeController, DoesNotFightWhoeverResetTheDischarge) {
    Settings settings = withLimit(60);
    settings.discharge = true;
    Rig rig({.startPercent = 95}, settings);
    rig.run(60);
    rig.battery.firmwareReset();
    rig.battery.clearWrites();
    rig.run(60);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    // Thresholds come back; the discharge waits for the next plug-in.
    EXPECT_EQ(rig.battery.writes(), (std::vector<std::string>{"start=55", "end=60"}));
}

TEST(ChargeController, HeatPausesChargingUntilThreeDegreesBelowTheLimit) {
    Settings settings = withLimit(90);
    settings.thermal = true;
    settings.thermalLimit = 40;
    Rig rig({.startPercent = 40, .ambientCelsius = 30.0, .chargingWarmth = 0}, settings);
    rig.run(60);
    EXPECT_EQ(rig.view().state, "allow");
    const struct {
        double extra;
        bool hot;
        const char* behaviour;
    } steps[] = {{10.5, true, "inhibit-charge"},
                 {8.0, true, "inhibit-charge"},
                 {7.1, true, "inhibit-charge"},
                 {7.0, false, "auto"},
                 {9.0, false, "auto"}};
    for (const auto& step : steps) {
        rig.battery.setExtraHeat(step.extra);
        rig.run(10);
        EXPECT_EQ(rig.view().hot, step.hot) << step.extra;
        EXPECT_EQ(rig.battery.behaviourValue(), step.behaviour) << step.extra;
        EXPECT_EQ(rig.view().state, step.hot ? "hold" : "allow") << step.extra;
    }
}

TEST(ChargeController, TopUpEndsOnUnplugWhenItHasNoHours) {
    Settings settings = withLimit(80);
    settings.topUp = true;
    Rig rig({.startPercent = 78}, settings);
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct == 100; }, 4 * 3600));
    EXPECT_TRUE(rig.view().topUp);
    EXPECT_FALSE(rig.controller.takeSettingsChange());
    rig.battery.plug(false);
    rig.run(5);
    const auto change = rig.controller.takeSettingsChange();
    ASSERT_TRUE(change);
    EXPECT_FALSE(change->topUp);
    EXPECT_FALSE(rig.view().topUp);
    EXPECT_EQ(rig.battery.endThresholdValue(), 80);
}

TEST(ChargeController, TopUpEndsAfterItsHoursAtFull) {
    Settings settings = withLimit(80);
    settings.topUp = true;
    settings.topUpHours = 2;
    Rig rig({.startPercent = 99}, settings);
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct == 100; }, 3600));
    rig.run(2 * 3600 - 60);
    EXPECT_TRUE(rig.view().topUp);
    rig.run(120);
    EXPECT_FALSE(rig.view().topUp);
    ASSERT_TRUE(rig.controller.takeSettingsChange());
}

TEST(ChargeController, CalibrationRunsThroughEveryPhaseAndRecordsTheSweep) {
    Settings settings = withLimit(80);
    Rig rig({.startPercent = 70, .fullChargeMah = 4700, .designMah = 5200, .cycleCount = 321}, settings);
    settings.calibrate = true;
    rig.controller.setSettings(settings);
    std::vector<Phase> seen{Phase::idle};
    for (int i = 0; i < 30 * 24 * 60 && !rig.controller.takeSettingsChange(); ++i) {
        rig.run(60, 10);
        if (rig.view().cal.phase != seen.back()) seen.push_back(rig.view().cal.phase);
        if (rig.view().cal.phase == Phase::drain) {
            EXPECT_NE(rig.view().state, "allow");
        }
    }
    EXPECT_EQ(seen, (std::vector<Phase>{Phase::idle, Phase::fill, Phase::drain, Phase::refill, Phase::soak,
                                        Phase::restore, Phase::idle}));
    const auto& cal = rig.view().cal;
    ASSERT_EQ(cal.runs.size(), 1u);
    EXPECT_EQ(cal.runs[0].beforeRaw, 4700);
    EXPECT_EQ(cal.runs[0].afterRaw, 4700);
    EXPECT_EQ(cal.runs[0].design, 5200);
    EXPECT_EQ(cal.runs[0].cyclesAfter, 321);
    EXPECT_FALSE(cal.lastFailure);
    EXPECT_FALSE(rig.controller.settings().calibrate);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_LE(rig.view().pct, 80);
}

TEST(ChargeController, CalibrationStallsAfterThreeDaysWithoutMovement) {
    // No force-discharge: the drain waits on battery power, and this machine stays plugged in.
    Settings settings = withLimit(80);
    settings.calibrate = true;
    Rig rig({.startPercent = 100, .behaviours = {"auto", "inhibit-charge"}}, settings);
    rig.run(60);
    ASSERT_EQ(rig.view().cal.phase, Phase::drain);
    EXPECT_EQ(rig.view().state, "hold");
    EXPECT_EQ(rig.battery.behaviourValue(), "inhibit-charge");
    rig.run(3 * 24 * 3600 - 600, 60);
    EXPECT_EQ(rig.view().cal.phase, Phase::drain);
    rig.run(900, 60);
    EXPECT_EQ(rig.view().cal.phase, Phase::idle);
    ASSERT_TRUE(rig.view().cal.lastFailure);
    EXPECT_EQ(rig.view().cal.lastFailure->reason, "stalled");
    EXPECT_EQ(rig.view().cal.lastFailure->phase, Phase::drain);
    EXPECT_FALSE(rig.controller.takeSettingsChange()->calibrate);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.battery.endThresholdValue(), 80);
}

TEST(ChargeController, CalibrateFalseAbandonsTheRun) {
    Settings settings = withLimit(80);
    settings.calibrate = true;
    settings.discharge = false;
    Rig rig({.startPercent = 100}, settings);
    rig.run(60);
    ASSERT_EQ(rig.view().cal.phase, Phase::drain);
    ASSERT_EQ(rig.battery.behaviourValue(), "force-discharge");
    settings.calibrate = false;
    rig.controller.setSettings(settings);
    rig.run(5);
    EXPECT_EQ(rig.view().cal.phase, Phase::idle);
    EXPECT_TRUE(rig.view().cal.runs.empty());
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
}

TEST(ChargeController, ARunAndTheProtectedTimeSurviveARestart) {
    Settings settings = withLimit(80);
    settings.calibrate = true;
    ControlMemory memory;
    {
        Rig rig({.startPercent = 100}, settings);
        rig.run(60);
        ASSERT_EQ(rig.view().cal.phase, Phase::drain);
        memory = rig.controller.memory();
        memory.protectedSeconds = 1234;
    }
    Rig restarted({.startPercent = 90}, settings, memory);
    EXPECT_EQ(restarted.view().cal.phase, Phase::drain);
    EXPECT_EQ(restarted.controller.memory().calBeforeRaw, 4800);
    EXPECT_EQ(restarted.view().protectedSeconds, 1234);
    restarted.controller.resetProtected();
    EXPECT_EQ(restarted.view().protectedSeconds, 0);
}

TEST(ChargeController, ReleaseHandsChargingBackUntilTheNextSettings) {
    Rig rig({.startPercent = 60}, withLimit(70));
    rig.run(60);
    EXPECT_FALSE(rig.controller.release());
    EXPECT_EQ(rig.battery.startThresholdValue(), 0);
    EXPECT_EQ(rig.battery.endThresholdValue(), 100);
    rig.battery.clearWrites();
    rig.run(600);
    EXPECT_TRUE(rig.battery.writes().empty());
    rig.controller.setSettings(withLimit(70));
    rig.run(5);
    EXPECT_EQ(rig.battery.endThresholdValue(), 70);
}

TEST(ChargeController, ShutdownLeavesTheLimitAndAutoBehind) {
    Settings settings = withLimit(60);
    settings.thermal = true;
    settings.thermalLimit = 30;
    Rig rig({.startPercent = 50}, settings);
    rig.battery.setExtraHeat(20);
    rig.run(60);
    ASSERT_EQ(rig.battery.behaviourValue(), "inhibit-charge");
    EXPECT_FALSE(rig.controller.shutdown());
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.battery.endThresholdValue(), 60);
    EXPECT_EQ(rig.battery.startThresholdValue(), 55);
}

TEST(ChargeController, DisabledMeansTheFullRangeAndAllow) {
    Settings settings = withLimit(60);
    settings.enabled = false;
    Rig rig({.startPercent = 70}, settings);
    rig.run(600);
    EXPECT_EQ(rig.battery.endThresholdValue(), 100);
    EXPECT_EQ(rig.view().state, "allow");
    EXPECT_GT(rig.view().pct, 70);
}

}  // namespace
}  // namespace torvel::daemon
