#include "settings_change.h"

#include <gtest/gtest.h>

#include "service/settings_rules.h"

namespace torvel::client {
namespace {

TEST(SettingsChange, MakesEachAssignment) {
    const Settings current{.limit = 60, .topUpHours = 2};
    const struct {
        std::vector<std::string> assignments;
        Settings expected;
    } cases[] = {
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

    // resetProtected is a one-off request, not a setting: it travels beside them.
    const auto change = std::get<SettingsChange>(changeSettings({}, {"resetProtected=true", "limit=90"}));
    EXPECT_EQ(change.settings, Settings{.limit = 90});
    EXPECT_EQ(settingsMessage(change.settings, change.extra),
              settingsMessage(Settings{.limit = 90}, {{"resetProtected", json::Value(true)}}));
}

TEST(SettingsChange, RefusesWithOneLineNamingTheFault) {
    const std::string known =
        " (known: enabled, limit, discharge, led, blinkSeconds, thermal, thermalLimit, topUp, topUpHours, "
        "hysteresis, history, historyDays, calibrate, resetProtected)";
    const struct {
        std::vector<std::string> assignments;
        std::string error;
    } cases[] = {
        {{}, "nothing to set (give KEY=VALUE)"},
        {{"limit"}, "'limit' is not KEY=VALUE"},
        {{"=80"}, "'=80' is not KEY=VALUE"},
        {{"Limit=80"}, "unknown setting 'Limit'" + known},
        {{"limit=80", "bogus=1"}, "unknown setting 'bogus'" + known},
        {{"limit=80", "limit=70"}, "limit given twice"},
    };
    for (const auto& c : cases) {
        const auto changed = changeSettings({}, c.assignments);
        ASSERT_TRUE(std::holds_alternative<std::string>(changed)) << c.error;
        EXPECT_EQ(std::get<std::string>(changed), c.error);
    }

    // The words are the service's own (asserted in core); here only that each bad value reaches them.
    const struct {
        const char* key;
        std::vector<std::string> values;
    } badValues[] = {
        {"limit", {"abc", "79.5", "19", "101", "", "99999999999999999999"}},
        {"blinkSeconds", {"0.4", "nan"}},
        {"thermal", {"TRUE", "maybe"}},
        {"resetProtected", {"1x"}},
    };
    for (const auto& c : badValues) {
        const SettingRule* rule = findSettingRule(c.key);
        const std::string refusal = rule ? settingRefusal(*rule) : resetProtectedRefusal();
        for (const auto& value : c.values) {
            const auto changed = changeSettings({}, {c.key + ("=" + value)});
            ASSERT_TRUE(std::holds_alternative<std::string>(changed)) << c.key << "=" << value;
            EXPECT_EQ(std::get<std::string>(changed), refusal) << c.key << "=" << value;
        }
    }
    // There is nothing to "not reset": false asks for nothing.
    EXPECT_TRUE(std::get<SettingsChange>(changeSettings({}, {"resetProtected=false"})).extra.empty());
}

}  // namespace
}  // namespace torvel::client
