#include "settings_change.h"

#include <gtest/gtest.h>

namespace torvel::client {
namespace {

TEST(SettingsChange, MakesEachAssignment) {
    const Settings current{.limit = 60, .topUpHours = 2};
    struct Case {
        std::vector<std::string> assignments;
        Settings expected;
    };
    const Case cases[] = {
        {{"limit=75"}, {.limit = 75, .topUpHours = 2}},
        {{"enabled=false", "thermal=on", "led=off"},
         {.enabled = false, .limit = 60, .led = false, .thermal = true, .topUpHours = 2}},
        {{"limit=100", "hysteresis=1", "thermalLimit=25", "historyDays=3650", "topUpHours=0"},
         {.limit = 100, .thermalLimit = 25, .topUpHours = 0, .hysteresis = 1, .historyDays = 3650}},
        {{"blinkSeconds=0.5"}, {.limit = 60, .blinkSeconds = 0.5, .topUpHours = 2}},
        {{"blinkSeconds=5"}, {.limit = 60, .blinkSeconds = 5.0, .topUpHours = 2}},
        {{"topUp=yes", "calibrate=1", "discharge=true", "history=no"},
         {.limit = 60,
          .discharge = true,
          .topUp = true,
          .topUpHours = 2,
          .history = false,
          .calibrate = true}},
    };
    for (const auto& c : cases) {
        const auto changed = changeSettings(current, c.assignments);
        ASSERT_TRUE(std::holds_alternative<SettingsChange>(changed))
            << c.assignments.front() << ": " << std::get<std::string>(changed);
        EXPECT_EQ(std::get<SettingsChange>(changed).settings, c.expected) << c.assignments.front();
        EXPECT_TRUE(std::get<SettingsChange>(changed).extra.empty());
    }
}

TEST(SettingsChange, ResetProtectedTravelsAsAnExtraKey) {
    const auto changed = changeSettings({}, {"resetProtected=true", "limit=90"});
    ASSERT_TRUE(std::holds_alternative<SettingsChange>(changed));
    const auto& change = std::get<SettingsChange>(changed);
    EXPECT_EQ(change.settings, Settings{.limit = 90});
    EXPECT_EQ(settingsMessage(change.settings, change.extra),
              settingsMessage(Settings{.limit = 90}, {{"resetProtected", json::Value(true)}}));
}

TEST(SettingsChange, RefusesWithOneLineNamingTheFault) {
    struct Case {
        std::vector<std::string> assignments;
        std::string error;
    };
    const Case cases[] = {
        {{}, "nothing to set (give KEY=VALUE)"},
        {{"limit"}, "'limit' is not KEY=VALUE"},
        {{"=80"}, "'=80' is not KEY=VALUE"},
        {{"Limit=80"},
         "unknown setting 'Limit' (known: enabled, limit, discharge, led, blinkSeconds, thermal, "
         "thermalLimit, topUp, topUpHours, hysteresis, history, historyDays, calibrate, "
         "resetProtected)"},
        {{"limit=80", "limit=70"}, "limit given twice"},
        {{"limit=abc"}, "bad value for limit: 'abc' (expected a whole number from 20 to 100)"},
        {{"limit=79.5"}, "bad value for limit: '79.5' (expected a whole number from 20 to 100)"},
        {{"limit=19"}, "bad value for limit: '19' (expected a whole number from 20 to 100)"},
        {{"limit=101"}, "bad value for limit: '101' (expected a whole number from 20 to 100)"},
        {{"limit="}, "bad value for limit: '' (expected a whole number from 20 to 100)"},
        {{"limit=99999999999999999999"},
         "bad value for limit: '99999999999999999999' (expected a whole number from 20 to 100)"},
        {{"hysteresis=0"}, "bad value for hysteresis: '0' (expected a whole number from 1 to 40)"},
        {{"thermalLimit=61"}, "bad value for thermalLimit: '61' (expected a whole number from 25 to 60)"},
        {{"topUpHours=-1"}, "bad value for topUpHours: '-1' (expected a whole number from 0 to 48)"},
        {{"historyDays=3651"}, "bad value for historyDays: '3651' (expected a whole number from 1 to 3650)"},
        {{"blinkSeconds=0.4"}, "bad value for blinkSeconds: '0.4' (expected seconds from 0.5 to 5)"},
        {{"blinkSeconds=nan"}, "bad value for blinkSeconds: 'nan' (expected seconds from 0.5 to 5)"},
        {{"enabled=maybe"}, "bad value for enabled: 'maybe' (expected true or false)"},
        {{"thermal=TRUE"}, "bad value for thermal: 'TRUE' (expected true or false)"},
        {{"resetProtected=false"}, "bad value for resetProtected: 'false' (expected true)"},
        {{"limit=80", "bogus=1"},
         "unknown setting 'bogus' (known: enabled, limit, discharge, led, blinkSeconds, "
         "thermal, thermalLimit, topUp, topUpHours, hysteresis, history, historyDays, "
         "calibrate, resetProtected)"},
    };
    for (const auto& c : cases) {
        const auto changed = changeSettings({}, c.assignments);
        ASSERT_TRUE(std::holds_alternative<std::string>(changed)) << c.error;
        EXPECT_EQ(std::get<std::string>(changed), c.error);
    }
}

}  // namespace
}  // namespace torvel::client
