#include <gtest/gtest.h>

#include <functional>

#include "battery/battery_monitor.h"
#include "extras/login_item_model.h"
#include "qt_support.h"
#include "ui/settings_page_model.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;

TEST(SettingsPage, EveryControlWritesItsFieldAtOnce) {
    testing::Rig rig(testing::Status::enabled);
    testing::TempDir machine;
    rig.writeStatus(R"("state":"hold")");
    ChargeSettingsModel& settings = rig.make();
    BatteryMonitor battery(TORVEL_FIXTURES "/power_supply/laptop_charging", false);
    LoginItemModel login(machine.path() / "autostart/com.torvel.Torvel.desktop",
                         QStringLiteral("/usr/bin/torvel"));
    SettingsPageModel page(settings, battery, login, SystemLock{});
    ASSERT_TRUE(page.canReachService());

    struct Case {
        const char* control;
        std::function<void()> use;
        std::function<bool(const Settings&)> written;
    };
    const Case cases[] = {
        {"profile", [&] { page.chooseProfile(60); }, [](const Settings& s) { return s.limit == 60; }},
        {"step", [&] { page.stepLimit(-1); }, [](const Settings& s) { return s.limit == 59; }},
        {"resting", [&] { page.setHysteresis(10); }, [](const Settings& s) { return s.hysteresis == 10; }},
        {"limit off", [&] { page.setLimitOn(false); }, [](const Settings& s) { return !s.enabled; }},
        {"discharge", [&] { page.setDischarge(true); }, [](const Settings& s) { return s.discharge; }},
        {"heat", [&] { page.setThermal(true); }, [](const Settings& s) { return s.thermal; }},
        {"pause at", [&] { page.setThermalLimit(45); },
         [](const Settings& s) { return s.thermalLimit == 45; }},
        {"light", [&] { page.setLed(false); }, [](const Settings& s) { return !s.led; }},
        {"blink", [&] { page.setBlinkTenths(35); }, [](const Settings& s) { return s.blinkSeconds == 3.5; }},
        {"top-up end", [&] { page.setTopUpHours(12); }, [](const Settings& s) { return s.topUpHours == 12; }},
        {"history", [&] { page.setHistory(false); }, [](const Settings& s) { return !s.history; }},
        {"keep for", [&] { page.setHistoryDays(90); }, [](const Settings& s) { return s.historyDays == 90; }},
    };
    for (const Case& c : cases) {
        const std::size_t sent = rig.fake.applies.size();
        c.use();
        ASSERT_EQ(rig.fake.applies.size(), sent + 1) << c.control << " saved at once";
        EXPECT_TRUE(c.written(rig.fake.applies.back().settings)) << c.control;
        // The service answers, so the next save goes out rather than waiting its turn.
        rig.fake.applies.back().done({});
    }

    page.setStartup(1);
    EXPECT_EQ(page.startup(), 1);
    EXPECT_TRUE(fs::exists(machine.path() / "autostart/com.torvel.Torvel.desktop"));
    page.setStartup(0);
    EXPECT_EQ(page.startup(), 0);
    EXPECT_FALSE(fs::exists(machine.path() / "autostart/com.torvel.Torvel.desktop"));
}

// The service's words on a change show on the page until the next answer; an overtaken save's do not.
TEST(SettingsPage, TheServicesWordsOnAChangeShowUntilTheNextAnswer) {
    testing::Rig rig(testing::Status::enabled);
    rig.writeStatus(R"("state":"hold")");
    ChargeSettingsModel& settings = rig.make();
    BatteryMonitor battery(TORVEL_FIXTURES "/power_supply/laptop_charging", false);
    LoginItemModel login(std::nullopt, QStringLiteral("/usr/bin/torvel"));
    SettingsPageModel page(settings, battery, login, SystemLock{});
    const ServiceCalls::Result held = "held at 80% instead";
    page.chooseProfile(75);
    rig.fake.applies.back().answer({.error = {}, .serviceError = {}, .note = held});
    EXPECT_EQ(page.saveNote().toStdString(), *held);
    page.chooseProfile(60);
    rig.fake.applies.back().answer({});
    EXPECT_TRUE(page.saveNote().isEmpty());
    page.chooseProfile(85);
    page.chooseProfile(75);
    rig.fake.applies.at(2).answer({.error = {}, .serviceError = {}, .note = held});
    EXPECT_TRUE(page.saveNote().isEmpty()) << "a save overtaken by a newer one says nothing";
    rig.fake.applies.at(3).answer({.error = {}, .serviceError = {}, .note = held});
    EXPECT_EQ(page.saveNote().toStdString(), *held);
}

TEST(SettingsPage, SwitchesThatNeedTheServiceWriteNothingWhileItCannotBeReached) {
    testing::Rig rig(testing::Status::notRegistered);
    ChargeSettingsModel& settings = rig.make();
    BatteryMonitor battery(TORVEL_FIXTURES "/power_supply/laptop_charging", false);
    LoginItemModel login(std::nullopt, QStringLiteral("/usr/bin/torvel"));
    SettingsPageModel page(settings, battery, login, SystemLock{});
    ASSERT_FALSE(page.canReachService());
    EXPECT_FALSE(page.unreachableText().isEmpty());
    page.setLimitOn(false);
    page.setDischarge(true);
    page.setThermal(true);
    page.setLed(false);
    page.setHistory(false);
    EXPECT_TRUE(rig.fake.applies.empty());
    EXPECT_TRUE(settings.value().settings.enabled);

    // Without a home folder, startup cannot be switched on, and the page is told why.
    page.setStartup(1);
    EXPECT_EQ(page.startup(), 0);
    EXPECT_FALSE(page.startupError().isEmpty());
}

}  // namespace
}  // namespace torvel::app
