#include "service/settings.h"

#include <gtest/gtest.h>

#include "fixture.h"

namespace torvel {
namespace {

TEST(LoadSettings, TakesUsableKeysAndKeepsTheRest) {
    const Settings loaded = loadSettings(testing::fixture("service/config-hand-edited.json"));
    Settings expected;
    expected.enabled = false;
    expected.limit = 79;  // a fraction is truncated toward zero
    expected.blinkSeconds = 3.0;
    expected.thermal = true;
    expected.thermalLimit = 38;
    expected.historyDays = 90;
    // discharge "yes", topUpHours 1e300 (no int holds it) and hysteresis null keep their defaults.
    EXPECT_EQ(loaded, expected);
}

TEST(LoadSettings, AnythingButAnObjectLeavesTheCurrentValues) {
    Settings current;
    current.limit = 65;
    for (const char* text : {"", "[]", "42", "{\"limit\": 70", "null", "\"limit\""}) {
        EXPECT_EQ(loadSettings(text, current), current) << text;
    }
}

TEST(LoadSettings, NegativeFractionsTruncateTowardZero) {
    EXPECT_EQ(loadSettings(R"({"hysteresis": -3.7})").hysteresis, -3);
}

TEST(SettingsMessage, SortedCompactAndMergedWithExtra) {
    Settings settings;
    settings.limit = 75;
    const std::string plain = settingsMessage(settings);
    EXPECT_EQ(plain,
              R"({"blinkSeconds":2.0,"calibrate":false,"discharge":false,"enabled":true,"history":true,)"
              R"("historyDays":365,"hysteresis":5,"led":true,"limit":75,"thermal":false,"thermalLimit":40,)"
              R"("topUp":false,"topUpHours":0})");

    const SettingsExtra extra{
        {"resetProtected", json::Value(true)}, {"limit", json::Value(90)}, {"led", std::nullopt}};
    const auto merged = json::parseObject(settingsMessage(settings, extra));
    ASSERT_TRUE(merged);
    EXPECT_EQ((*merged)["resetProtected"], true);
    EXPECT_EQ((*merged)["limit"], 90);
    EXPECT_FALSE(merged->contains("led"));
    EXPECT_EQ(merged->size(), 13u);
}

TEST(SettingsMessage, RoundTripsEveryKeyThroughTheLoader) {
    // Every field away from its default, so a key the codec forgets comes back changed.
    const Settings settings{.enabled = false,
                            .limit = 62,
                            .discharge = true,
                            .led = false,
                            .blinkSeconds = 0.5,
                            .thermal = true,
                            .thermalLimit = 30,
                            .topUp = true,
                            .topUpHours = 12,
                            .hysteresis = 3,
                            .history = false,
                            .historyDays = 30,
                            .calibrate = true};
    EXPECT_EQ(loadSettings(settingsMessage(settings)), settings);
}

}  // namespace
}  // namespace torvel
