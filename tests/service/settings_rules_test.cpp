#include "service/settings_rules.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

TEST(SettingsUpdate, RefusesEachBadValueNamingItsKey) {
    const struct {
        const char* key;
        std::vector<const char*> values;
        const char* rule;
    } cases[] = {
        {"limit", {"19", "101", "\"80\"", "80.5", "1e300"}, "a whole number from 20 to 100"},
        {"hysteresis", {"0", "41"}, "a whole number from 1 to 40"},
        {"thermalLimit", {"24", "61"}, "a whole number from 25 to 60"},
        {"topUpHours", {"-1", "49"}, "a whole number from 0 to 48"},
        {"historyDays", {"0", "3651"}, "a whole number from 1 to 3650"},
        {"blinkSeconds", {"0.4", "5.01", "\"2\"", "null"}, "a number from 0.5 to 5"},
        {"enabled", {"\"yes\""}, "true or false"},
        {"calibrate", {"1"}, "true or false"},
        {"resetProtected", {"\"true\""}, "true or false"},
    };
    for (const auto& c : cases) {
        for (const char* value : c.values) {
            // A good key beside the bad one is no excuse, and the bad one is named whatever the order.
            const std::string message = R"({"thermal":true,")" + std::string(c.key) + "\":" + value + "}";
            const auto update = SettingsUpdate::read(message);
            EXPECT_EQ(update.refusal(), "The setting " + std::string(c.key) + " must be " + c.rule + ".")
                << message;
            EXPECT_FALSE(update.unreadable());
            EXPECT_TRUE(update.appliedTo({}).thermal) << "the good keys are still there for config.json";
        }
    }
    for (const auto& [message, refusal] :
         {std::pair{"[]", "The settings are not a JSON object."},
          {"{\"limit\":", "The settings are not a JSON object."},
          {R"({"limit":60,"limit":90})", "The settings repeat a key or nest too deeply."},
          {R"({"x":[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]})",
           "The settings repeat a key or nest too deeply."}}) {
        const auto update = SettingsUpdate::read(message);
        EXPECT_EQ(update.refusal(), refusal) << message;
        EXPECT_TRUE(update.unreadable());
        EXPECT_EQ(update.appliedTo({.limit = 70}), Settings{.limit = 70});
    }
}

TEST(SettingsUpdate, TakesTheEdgesKeepsUnsentKeysAndIgnoresUnknownOnes) {
    const auto update = SettingsUpdate::read(
        R"({"limit":20,"hysteresis":40,"thermalLimit":60,"topUpHours":48,"historyDays":3650,"blinkSeconds":0.5,
            "someday":[1],"resetProtected":true})");
    EXPECT_EQ(update.refusal(), std::nullopt);
    EXPECT_EQ(update.appliedTo({.thermal = true}), (Settings{.limit = 20,
                                                             .blinkSeconds = 0.5,
                                                             .thermal = true,
                                                             .thermalLimit = 60,
                                                             .topUpHours = 48,
                                                             .hysteresis = 40,
                                                             .historyDays = 3650}));
    EXPECT_TRUE(update.resetProtected());
    EXPECT_EQ(SettingsUpdate::read(R"({"blinkSeconds":5})").appliedTo({}).blinkSeconds, 5.0);
}

TEST(SettingsUpdate, NeedsTheAdministratorToUndoAProtectionAgainstTheSettingsInForce) {
    const Settings current{.limit = 70, .historyDays = 90};
    for (const auto& [message, protectedChange] : {std::pair{R"({"enabled":false})", true},
                                                   {R"({"historyDays":30})", true},
                                                   {R"({"resetProtected":true})", true},
                                                   {R"({"history":false})", false},
                                                   {R"({"historyDays":120,"limit":75})", false},
                                                   {R"({"enabled":true,"resetProtected":false})", false}}) {
        EXPECT_EQ(SettingsUpdate::read(message).needsAdministrator(current), protectedChange) << message;
    }
    // Turning off what is already off, or keeping the retention there is, undoes nothing.
    EXPECT_FALSE(SettingsUpdate::read(R"({"enabled":false})").needsAdministrator({.enabled = false}));
    EXPECT_FALSE(SettingsUpdate::read(R"({"historyDays":30})").needsAdministrator({.historyDays = 30}));
}

}  // namespace
}  // namespace torvel
