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
using Writes = std::vector<std::string>;

// The wall and boot clocks in step, as they are when nobody sets the time.
void tickAt(ChargeController& controller, Instant now) {
    controller.tick(now, now);
}

// A simulated battery and a controller ticking every five seconds of fake time.
struct Rig {
    explicit Rig(BatteryOptions options, Settings settings, ControlMemory memory = {})
        : battery(std::move(options)),
          controller(battery, std::move(memory), [this](std::string_view line) { log.emplace_back(line); }) {
        controller.setSettings(settings);
        tickAt(controller, now);
    }

    void run(double seconds, double step = 5) {
        for (double done = 0; done < seconds; done += step) {
            battery.advance(step);
            tickAt(controller, now += step);
        }
    }
    // Runs until `done` holds or `limit` seconds pass; returns whether it held.
    template <typename Condition>
    bool runUntil(Condition done, double limit) {
        for (double spent = 0; spent < limit && !done(); spent += 5) run(5);
        return done();
    }
    void set(bool Settings::*key, bool value) {
        Settings settings = controller.settings();
        settings.*key = value;
        controller.setSettings(settings);
    }
    const PublishedStatus& view() const { return controller.status(); }
    // What the driver holds, as "start-end behaviour".
    std::string device() const {
        return std::to_string(battery.startThresholdValue()) + "-" +
               std::to_string(battery.endThresholdValue()) + " " + battery.behaviourValue();
    }

    SimulatedBattery battery;
    std::vector<std::string> log;
    Instant now = 1'700'000'000;
    ChargeController controller;
};

TEST(ChargeController, PublishesWhenTheStateBeganAndWhatItWrites) {
    Rig rig({.startPercent = 50}, {.limit = 80});
    const Instant started = rig.now;
    rig.run(600);
    EXPECT_EQ(rig.view().state, ChargeState::allow);
    EXPECT_EQ(rig.view().since, started) << "still charging: the state has not changed";
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().state == ChargeState::hold; }, 4 * 3600));
    const auto held = rig.view().since;
    ASSERT_TRUE(held);
    EXPECT_GT(*held, started);
    rig.run(600);
    EXPECT_EQ(rig.view().since, held);
    EXPECT_EQ(rig.view().smcKeys,
              (std::vector<std::string>{"charge_control_end_threshold", "charge_control_start_threshold",
                                        "charge_behaviour"}));
    EXPECT_FALSE(rig.view().ledSupported);
}

TEST(ChargeController, HoldsTheLimitVerifiesTheGateAndReappliesWhatTheFirmwareForgot) {
    Rig rig({.startPercent = 50}, {.limit = 80});
    rig.run(4 * 3600);
    EXPECT_EQ(rig.device(), "75-80 auto");
    EXPECT_EQ(rig.view().pct, 80);
    EXPECT_EQ(rig.view().state, ChargeState::hold);
    EXPECT_EQ(rig.view().gateVerified, true);
    EXPECT_GT(rig.view().protectedSeconds, 3600);
    EXPECT_EQ(rig.view().chargeMode, "thresholds+behaviour");
    rig.battery.firmwareReset();
    rig.run(5);
    EXPECT_EQ(rig.device(), "75-80 auto");
}

TEST(ChargeController, GateIsFalseWhenChargingGoesOnPastTheLimit) {
    Rig rig({.startPercent = 85, .behaviours = {}, .thresholdsIgnored = true}, {.limit = 80});
    rig.run(100);
    EXPECT_EQ(rig.view().gateVerified, false);
}

TEST(ChargeController, OrdersThresholdWritesSoStartNeverExceedsEnd) {
    const struct {
        int fromStart, fromEnd, limit;
        Writes writes;
    } cases[] = {
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
        controller.setSettings({.limit = c.limit});
        tickAt(controller, 0);
        EXPECT_EQ(battery.writes(), c.writes) << c.fromStart << "/" << c.fromEnd << " -> " << c.limit;
    }
}

TEST(ChargeController, PublishesTheFloorOfAClampingDriverAndDoesNotRewriteIt) {
    Rig rig({.startPercent = 60, .behaviours = {}, .thresholdStep = 5, .minEnd = 55}, {.limit = 50});
    EXPECT_EQ(rig.battery.endThresholdValue(), 55);
    EXPECT_EQ(rig.view().nativeFloor, 55);
    rig.battery.clearWrites();
    rig.run(600);
    EXPECT_EQ(rig.battery.writes(), Writes{});
}

TEST(ChargeController, HoldsWithChargeBehaviourWhenThereAreNoThresholds) {
    Rig rig({.startPercent = 70, .endThreshold = false}, {.limit = 80});
    ASSERT_TRUE(rig.runUntil([&] { return rig.battery.behaviourValue() == "inhibit-charge"; }, 4 * 3600));
    rig.run(5);
    EXPECT_EQ(rig.view().pct, 80);
    EXPECT_EQ(rig.view().state, ChargeState::hold);
    EXPECT_EQ(rig.view().chargeMode, "behaviour");
    // Charging comes back only below limit - hysteresis.
    rig.battery.plug(false);
    ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct < 75; }, 4 * 3600));
    rig.battery.plug(true);
    rig.run(5);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_EQ(rig.view().state, ChargeState::allow);
}

TEST(ChargeController, WithoutInhibitTheHeatPauseLowersTheEndAndLogsNothing) {
    // force-discharge is offered, inhibit-charge is not: a refusal on every tick would flood the log.
    Rig rig({.startPercent = 50, .behaviours = {"auto", "force-discharge"}},
            {.limit = 80, .thermal = true, .thermalLimit = 30});
    rig.battery.setExtraHeat(10);
    rig.run(300);
    EXPECT_TRUE(rig.view().hot);
    EXPECT_EQ(rig.battery.endThresholdValue(), rig.view().pct);
    EXPECT_TRUE(rig.log.empty()) << rig.log.front();
}

TEST(ChargeController, ForcedDischargeRunsDownToTheTargetOrGivesUpOnACutThatDoesNotHold) {
    for (const bool cuts : {true, false}) {
        SCOPED_TRACE(cuts);
        Rig rig({.startPercent = 95, .forceDischargeCuts = cuts}, {.limit = 80, .discharge = true});
        EXPECT_EQ(rig.battery.behaviourValue(), "force-discharge");
        rig.run(15);
        EXPECT_EQ(rig.view().dischargeFailed, !cuts);
        if (cuts) {
            EXPECT_EQ(rig.view().state, ChargeState::discharge);
            ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct <= 80; }, 3 * 3600));
            rig.run(5);
        }
        EXPECT_EQ(rig.device(), "75-80 auto");
        EXPECT_EQ(rig.view().state, ChargeState::hold);
        EXPECT_TRUE(rig.view().dischargeSupported);
    }
}

TEST(ChargeController, AFailedCutIsRetriedAtTheNextPlugInOnly) {
    Rig rig({.startPercent = 95, .forceDischargeCuts = false}, {.limit = 80, .discharge = true});
    rig.run(15);
    rig.battery.clearWrites();
    rig.run(600);
    EXPECT_EQ(rig.battery.writes(), Writes{}) << "retried while still plugged in";
    rig.battery.plug(false);
    rig.run(5);
    rig.battery.plug(true);
    rig.run(5);
    EXPECT_EQ(rig.battery.writes(), Writes{"behaviour=force-discharge"});
    rig.run(15);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
}

TEST(ChargeController, NeverLeavesChargingForcedOrInhibitedOnceTheReasonIsGone) {
    const struct Reason {
        Settings settings;
        double startPercent, extraHeat;
        const char* behaviour;
    } discharging{{.limit = 60, .discharge = true}, 95, 0, "force-discharge"},
        calibrating{{.calibrate = true}, 100, 0, "force-discharge"},
        tooHot{{.limit = 60, .thermal = true, .thermalLimit = 30}, 50, 20, "inhibit-charge"};
    using Interrupt = void (*)(Rig&);
    const Interrupt release = [](Rig& r) { EXPECT_FALSE(r.controller.release()); };
    // The service stops after a shutdown: no tick follows it.
    const Interrupt shutdown = [](Rig& r) { EXPECT_FALSE(r.controller.shutdown()); };
    const struct {
        const char* name;
        Reason reason;
        Interrupt interrupt;
        const char* after;
    } cases[] = {
        {"unplugged", discharging, [](Rig& r) { r.battery.plug(false); }, "55-60 auto"},
        {"discharge off", discharging, [](Rig& r) { r.set(&Settings::discharge, false); }, "55-60 auto"},
        {"limit off", discharging, [](Rig& r) { r.set(&Settings::enabled, false); }, "0-100 auto"},
        {"released", discharging, release, "0-100 auto"},
        {"shutdown", discharging, shutdown, "55-60 auto"},
        {"calibration off", calibrating, [](Rig& r) { r.set(&Settings::calibrate, false); }, "75-80 auto"},
        {"hot, released", tooHot, release, "0-100 auto"},
        {"hot, shutdown", tooHot, shutdown, "55-60 auto"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig({.startPercent = c.reason.startPercent}, c.reason.settings);
        rig.battery.setExtraHeat(c.reason.extraHeat);
        rig.run(60);
        ASSERT_EQ(rig.battery.behaviourValue(), c.reason.behaviour);
        c.interrupt(rig);
        if (c.interrupt != shutdown) {
            rig.run(5);
            EXPECT_NE(rig.view().state, ChargeState::discharge);
            EXPECT_EQ(rig.view().cal.phase, Phase::idle);
        }
        EXPECT_EQ(rig.device(), c.after);
    }
}

TEST(ChargeController, DoesNotFightWhoeverResetTheDischarge) {
    Rig rig({.startPercent = 95}, {.limit = 60, .discharge = true});
    rig.run(60);
    rig.battery.firmwareReset();
    rig.battery.clearWrites();
    rig.run(60);
    // Thresholds come back; the discharge waits for the next plug-in.
    EXPECT_EQ(rig.battery.writes(), (Writes{"start=55", "end=60"}));
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
}

TEST(ChargeController, HeatPausesChargingUntilThreeDegreesBelowTheLimit) {
    Rig rig({.startPercent = 40, .ambientCelsius = 30.0, .chargingWarmth = 0},
            {.limit = 90, .thermal = true, .thermalLimit = 40});
    rig.run(60);
    EXPECT_EQ(rig.view().state, ChargeState::allow);
    for (const auto& [extra, hot] :
         {std::pair{10.5, true}, {8.0, true}, {7.1, true}, {7.0, false}, {9.0, false}}) {
        rig.battery.setExtraHeat(extra);
        rig.run(10);
        EXPECT_EQ(rig.view().hot, hot) << extra;
        EXPECT_EQ(rig.battery.behaviourValue(), hot ? "inhibit-charge" : "auto") << extra;
        EXPECT_EQ(rig.view().state, hot ? ChargeState::hold : ChargeState::allow) << extra;
    }
}

TEST(ChargeController, TopUpEndsOnUnplugOrAfterItsHoursAtFullAndSaysSo) {
    for (const int hours : {0, 2}) {
        SCOPED_TRACE(hours);
        Rig rig({.startPercent = 95}, {.limit = 80, .topUp = true, .topUpHours = hours});
        ASSERT_TRUE(rig.runUntil([&] { return rig.view().pct == 100; }, 4 * 3600));
        rig.run(hours * 3600 - 60);
        EXPECT_TRUE(rig.view().topUp);
        EXPECT_FALSE(rig.controller.takeSettingsChange());
        if (hours == 0) rig.battery.plug(false);  // without hours, only unplugging ends it
        rig.run(120);
        const auto change = rig.controller.takeSettingsChange();
        ASSERT_TRUE(change);
        EXPECT_FALSE(change->topUp);
        EXPECT_FALSE(rig.view().topUp);
        EXPECT_EQ(rig.battery.endThresholdValue(), 80);
    }
}

TEST(ChargeController, CalibrationRunsThroughEveryPhaseAndRecordsTheSweep) {
    Rig rig({.startPercent = 70, .fullChargeMah = 4700, .designMah = 5200, .cycleCount = 321}, {.limit = 80});
    rig.set(&Settings::calibrate, true);
    std::vector<Phase> seen{Phase::idle};
    for (int i = 0; i < 30 * 24 * 60 && !rig.controller.takeSettingsChange(); ++i) {
        rig.run(60, 10);
        if (rig.view().cal.phase != seen.back()) seen.push_back(rig.view().cal.phase);
        EXPECT_TRUE(rig.view().cal.phase != Phase::drain || rig.view().state != ChargeState::allow);
    }
    EXPECT_EQ(seen, (std::vector<Phase>{Phase::idle, Phase::fill, Phase::drain, Phase::refill, Phase::soak,
                                        Phase::restore, Phase::idle}));
    const auto& cal = rig.view().cal;
    ASSERT_EQ(cal.runs.size(), 1u);
    const auto& run = cal.runs[0];
    EXPECT_EQ(std::tuple(run.beforeRaw, run.afterRaw, run.design, run.cyclesAfter),
              std::tuple(4700, 4700, 5200, 321));
    EXPECT_FALSE(cal.lastFailure);
    EXPECT_FALSE(rig.controller.settings().calibrate);
    EXPECT_EQ(rig.battery.behaviourValue(), "auto");
    EXPECT_LE(rig.view().pct, 80);
}

TEST(ChargeController, CalibrationStallsAfterThreeDaysWithoutMovement) {
    // No force-discharge: the drain waits on battery power, and this machine stays plugged in.
    Rig rig({.startPercent = 100, .behaviours = {"auto", "inhibit-charge"}},
            {.limit = 80, .calibrate = true});
    rig.run(60);
    ASSERT_EQ(rig.view().cal.phase, Phase::drain);
    EXPECT_EQ(rig.battery.behaviourValue(), "inhibit-charge");
    rig.run(3 * 24 * 3600 - 600, 60);
    EXPECT_EQ(rig.view().cal.phase, Phase::drain);
    rig.run(900, 60);
    EXPECT_EQ(rig.view().cal.phase, Phase::idle);
    ASSERT_TRUE(rig.view().cal.lastFailure);
    EXPECT_EQ(rig.view().cal.lastFailure->reason, "stalled");
    EXPECT_EQ(rig.view().cal.lastFailure->phase, Phase::drain);
    EXPECT_FALSE(rig.controller.takeSettingsChange()->calibrate);
    EXPECT_EQ(rig.device(), "75-80 auto");
}

TEST(ChargeController, ARunAndTheProtectedTimeSurviveARestart) {
    ControlMemory memory;
    {
        Rig rig({.startPercent = 100}, {.calibrate = true});
        rig.run(60);
        ASSERT_EQ(rig.view().cal.phase, Phase::drain);
        memory = rig.controller.memory();
        memory.protectedSeconds = 1234;
    }
    Rig restarted({.startPercent = 90}, {.calibrate = true}, memory);
    EXPECT_EQ(restarted.view().cal.phase, Phase::drain);
    EXPECT_EQ(restarted.controller.memory().calBeforeRaw, 4800);
    EXPECT_EQ(restarted.view().protectedSeconds, 1234);
}

// Simulated batteries in their bays: a bay that can be emptied, a driver that can refuse force-discharge or
// fail every end-threshold write.
struct Bays final : PowerDevice {
    explicit Bays(std::vector<SimulatedBattery*> all) : batteries(std::move(all)) {}
    SimulatedBattery* find(std::string_view name) const {
        for (auto* battery : batteries) {
            if (battery->options().name == name) return battery;
        }
        return nullptr;
    }
    DeviceReading read() override {
        DeviceReading reading;
        reading.plugged = batteries.front()->plugged();
        if (absent) return reading;
        for (auto* battery : batteries) reading.batteries.push_back(battery->read().batteries.front());
        static_cast<BatteryAttributes&>(reading) = combineBatteries(reading.batteries);
        return reading;
    }
    std::vector<DeviceCapabilities> capabilities() override {
        std::vector<DeviceCapabilities> all;
        if (absent) return all;
        for (auto* battery : batteries) all.push_back(battery->capabilities().front());
        return all;
    }
    std::optional<int> threshold(std::string_view name, Threshold which) override {
        return find(name)->threshold(name, which);
    }
    WriteResult setThreshold(std::string_view name, Threshold which, int percent) override {
        if (which == Threshold::end) ++endWrites;
        if (failEnd && which == Threshold::end)
            return WriteFailure{"cannot write charge_control_end_threshold: Input/output error"};
        if (refuseEnd && which == Threshold::end)
            return WriteFailure{"cannot write charge_control_end_threshold: Invalid argument", true};
        return find(name)->setThreshold(name, which, percent);
    }
    std::optional<ChargeBehaviour> behaviour(std::string_view name) override {
        return find(name)->behaviour(name);
    }
    WriteResult setBehaviour(std::string_view name, std::string_view value) override {
        if (refuseDischarge && value == behaviourForceDischarge)
            return WriteFailure{"cannot write charge_behaviour: I/O error"};
        return find(name)->setBehaviour(name, value);
    }
    std::vector<SimulatedBattery*> batteries;
    bool absent = false;
    bool refuseDischarge = false;
    bool failEnd = false;
    bool refuseEnd = false;  // EINVAL for every value, as a driver whose thresholds are fixed
    int endWrites = 0;
};

TEST(ChargeController, ADriverThatRefusesEveryValueIsNotAskedAgainUntilTheRequestChanges) {
    SimulatedBattery battery({.startPercent = 70});
    Bays device({&battery});
    device.refuseEnd = true;
    ChargeController controller(device, {}, {});
    controller.setSettings({.limit = 80});
    Instant now = 1'700'000'000;
    const auto writesDuring = [&](int ticks) {
        device.endWrites = 0;
        for (int i = 0; i < ticks; ++i) tickAt(controller, now += 5);
        return device.endWrites;
    };
    EXPECT_EQ(writesDuring(1), 101) << "every value once, nearest first";
    EXPECT_EQ(writesDuring(10), 0);
    EXPECT_TRUE(controller.status().chargeError);
    controller.setSettings({.limit = 75});
    EXPECT_EQ(writesDuring(2), 101) << "a new request asks afresh";
    controller.reapply();
    EXPECT_EQ(writesDuring(2), 101) << "and so does a battery back from sleep";
}

TEST(ChargeController, ARemovedBatteryIsPublishedAbsentAndTakenUpAgainWhenBack) {
    SimulatedBattery battery({.startPercent = 85});
    Bays device({&battery});
    std::vector<std::string> log;
    ChargeController controller(device, {}, [&](std::string_view line) { log.emplace_back(line); });
    controller.setSettings({.limit = 80});
    Instant now = 1'700'000'000;
    tickAt(controller, now);
    battery.advance(5);
    tickAt(controller, now += 5);
    ASSERT_EQ(controller.status().state, ChargeState::hold);

    device.absent = true;
    tickAt(controller, now += 5);
    EXPECT_EQ(controller.status().state, std::nullopt);
    EXPECT_EQ(controller.status().otherState, "absent");
    EXPECT_EQ(controller.status().pct, 0);
    EXPECT_EQ(controller.status().since, now);
    EXPECT_EQ(log.back(), "battery removed; nothing to hold until it is back");

    // Put back with the firmware's defaults, as some machines do.
    battery.setThreshold(Threshold::start, 0);
    battery.setThreshold(Threshold::end, 100);
    device.absent = false;
    tickAt(controller, now += 5);
    EXPECT_EQ(controller.status().otherState, std::nullopt);
    EXPECT_EQ(battery.endThresholdValue(), 80);
    battery.advance(5);
    tickAt(controller, now += 5);
    EXPECT_EQ(controller.status().state, ChargeState::hold);
    EXPECT_EQ(log.back(), "battery back; taking it up again");
}

TEST(ChargeController, ARefusedDischargeWriteIsNeverPublishedAsADischarge) {
    SimulatedBattery battery({.startPercent = 95});
    Bays device({&battery});
    device.refuseDischarge = true;
    ChargeController controller(device, {}, {});
    controller.setSettings({.limit = 80, .discharge = true});
    Instant now = 1'700'000'000;
    // Each tick tries again until the cut has had its time to take hold; none of them says "discharge".
    for (int i = 0; i < 6; ++i) {
        tickAt(controller, now += 5);
        EXPECT_NE(controller.status().state, ChargeState::discharge);
        EXPECT_EQ(battery.behaviourValue(), "auto");
    }
    EXPECT_TRUE(controller.status().dischargeFailed);
}

TEST(ChargeController, HoldsTheLimitOnEveryBatteryAndPublishesEach) {
    SimulatedBattery internal({.name = "BAT0", .startPercent = 70});
    SimulatedBattery bay({.name = "BAT1", .startPercent = 90, .behaviours = {}});
    Bays device({&internal, &bay});
    ChargeController controller(device, {}, {});
    controller.setSettings({.limit = 80});
    tickAt(controller, 1'700'000'000);
    EXPECT_EQ(std::pair(internal.endThresholdValue(), bay.endThresholdValue()), std::pair(80, 80));
    EXPECT_EQ(controller.status().pct, 80) << "two packs of the same size weigh the same";
    const auto& published = controller.status().batteries;
    ASSERT_EQ(published.size(), 2u);
    EXPECT_EQ(std::tuple(published[1].name, published[1].pct, published[1].mode, published[1].endThreshold),
              std::tuple("BAT1", 90, "thresholds", 80));
}

TEST(ChargeController, AWriteTheDriverDoesNotTakeIsReadBackAndPublished) {
    const struct {
        const char* name;
        BatteryOptions options;
        bool failEnd;
        int end;
        std::optional<int> nativeLimit;
        std::optional<std::string> error;
    } cases[] = {
        {"takes only 80 or 100: the nearest it takes", {.endValues = {80, 100}}, false, 80, 80, std::nullopt},
        {"rounds to tens", {.thresholdStep = 10}, false, 80, 80, std::nullopt},
        {"every end write fails",
         {},
         true,
         100,
         std::nullopt,
         "BAT0: cannot write charge_control_end_threshold: Input/output error"},
    };
    for (const auto& c : cases) {
        SimulatedBattery battery(c.options);
        Bays device({&battery});
        device.failEnd = c.failEnd;
        ChargeController controller(device, {}, {});
        controller.setSettings({.limit = 75});
        tickAt(controller, 1'700'000'000);
        EXPECT_EQ(battery.endThresholdValue(), c.end) << c.name;
        EXPECT_EQ(controller.status().nativeLimit, c.nativeLimit) << c.name;
        EXPECT_EQ(controller.status().chargeError, c.error) << c.name;
        ASSERT_EQ(controller.status().batteries.size(), 1u);
        EXPECT_EQ(controller.status().batteries[0].endThreshold, c.end) << c.name;
    }
}

struct FixedLookout final : WriterLookout {
    std::optional<OtherWriter> identify(const std::vector<std::string>&) override { return holder; }
    std::optional<OtherWriter> holder;
};

TEST(ChargeController, GivesWayToAProgramThatKeepsWritingTheThresholdsAndTakesThemBackAfter) {
    SimulatedBattery battery({.startPercent = 60});
    Bays device({&battery});
    FixedLookout lookout;
    lookout.holder =
        OtherWriter{.program = OtherWriter::Program::upower, .file = {}, .at = {}, .yielded = false};
    std::vector<std::string> log;
    ChargeController controller(
        device, {}, [&](std::string_view line) { log.emplace_back(line); }, &lookout);
    controller.setSettings({.limit = 80});
    // The wall clock leaps a day ahead before each write while the boot clock moves five seconds: the window
    // goes by the boot clock, and only what is published by the wall clock.
    double boot = 1'000, leap = 0;
    const auto tick = [&](double seconds) {
        boot += seconds;
        controller.tick(boot + 1'700'000'000 + leap, boot);
    };
    tick(0);
    for (int write = 1; write <= OtherWriterWatch::toleratedWrites; ++write) {
        battery.setThreshold(Threshold::end, 100);
        leap += 86'400;
        tick(5);
        ASSERT_TRUE(controller.status().otherWriter);
        EXPECT_EQ(controller.status().otherWriter->at, boot + 1'700'000'000 + leap);
        EXPECT_EQ(controller.status().otherWriter->program, OtherWriter::Program::upower);
        const bool yielded = write == OtherWriterWatch::toleratedWrites;
        EXPECT_EQ(controller.status().otherWriter->yielded, yielded) << write;
        EXPECT_EQ(battery.endThresholdValue(), yielded ? 100 : 80) << write;
    }
    EXPECT_EQ(log.front(),
              "charge_control_end_threshold 80 → 100 on BAT0, written by UPower; putting the limit back");
    tick(600);
    EXPECT_EQ(battery.endThresholdValue(), 100) << "UPower still holds it";

    lookout.holder.reset();
    tick(OtherWriterWatch::recheckSeconds);
    EXPECT_EQ(log.back(), "UPower no longer sets the charge controls; holding the limit again");
    EXPECT_EQ(battery.endThresholdValue(), 80);
    EXPECT_FALSE(controller.status().otherWriter);
}

TEST(ChargeController, ReleaseLeavesChargingAloneUntilTheNextSettings) {
    Rig rig({.startPercent = 60}, {.limit = 70});
    rig.run(60);
    EXPECT_FALSE(rig.controller.release());
    rig.battery.clearWrites();
    rig.run(600);
    EXPECT_EQ(rig.battery.writes(), Writes{});
    rig.controller.setSettings({.limit = 70});
    rig.run(5);
    EXPECT_EQ(rig.device(), "65-70 auto");
}

}  // namespace
}  // namespace torvel::daemon
