#include "extras/charge_arrival.h"

#include <gtest/gtest.h>

#include "battery/battery_monitor.h"
#include "qt_support.h"

namespace torvel::app::testing {
namespace {

// The fixture battery is at 57% and charging.
struct ArrivalRig {
    Rig rig;
    BatteryMonitor battery{TORVEL_FIXTURES "/power_supply/laptop_charging", false};
    double now = 1000;
    bool screen = true;
    std::vector<std::optional<QString>> shown;
    std::unique_ptr<ChargeArrivalController> controller;

    explicit ArrivalRig(bool withSettings = true) {
        rig.make();
        controller = std::make_unique<ChargeArrivalController>(ChargeArrivalController::Sources{
            .battery = &battery,
            .settings = withSettings ? rig.settings.get() : nullptr,
            .lock = {},
            .clock = [this] { return now; },
            .screenAvailable = [this] { return screen; },
            .present = [this](const std::optional<QString>& label) { shown.push_back(label); },
            .visibleFor = std::chrono::milliseconds(0),
        });
        controller->activate();
    }
    // Lets the overlay's end of showing run.
    void settle() {
        spinUntil([this] { return !controller->state().showing; });
    }
};

TEST(ChargeArrivalController, PlugInsWithinTheCooldownShowOnceAndNoScreenShowsNothing) {
    const struct {
        double at;
        bool screen;
        bool shows;
    } plugIns[] = {
        {1000, true, true},   {1005, true, false}, {1011, true, true},
        {1030, false, false}, {1031, true, true},  {1035, true, false},
    };
    ArrivalRig arrival;
    std::size_t expected = 0;
    for (const auto& plugIn : plugIns) {
        SCOPED_TRACE(plugIn.at);
        arrival.now = plugIn.at;
        arrival.screen = plugIn.screen;
        emit arrival.battery.pluggedIn();
        if (plugIn.shows) ++expected;
        EXPECT_EQ(arrival.shown.size(), expected);
        arrival.settle();
    }
    // Asked for by name, it shows whatever the cooldown says.
    arrival.controller->flashNow();
    EXPECT_EQ(arrival.shown.size(), expected + 1);
}

TEST(ChargeArrivalController, TheLabelPointsAtTheLimitOnlyWhileTheChargeIsBelowIt) {
    const struct {
        bool withSettings;
        bool enabled;
        int limit;
        const char* label;
    } cases[] = {
        {true, true, 80, "57% → 80%"},
        {true, false, 80, "57%"},
        {true, true, 50, "57%"},
        {false, true, 80, "57%"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        ArrivalRig arrival(c.withSettings);
        arrival.rig.settings->change([&c](Settings& settings) {
            settings.enabled = c.enabled;
            settings.limit = c.limit;
        });
        arrival.battery.refresh();
        arrival.controller->flashNow();
        ASSERT_EQ(arrival.shown.size(), 1u);
        EXPECT_EQ(arrival.shown.front(), QString::fromUtf8(c.label));
    }
}

}  // namespace
}  // namespace torvel::app::testing
