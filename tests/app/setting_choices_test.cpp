#include "app/setting_choices.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace torvel {
namespace {

namespace C = SettingChoices;

TEST(ThresholdChoice, TiesGoToTheCautiousSideAndRelaxedOnlyWhenStrictlyNearer) {
    const std::pair<int, const char*> cases[] = {
        {20, "Cautious"}, {35, "Cautious"}, {37, "Cautious"}, {38, "Balanced"}, {40, "Balanced"},
        {42, "Balanced"}, {43, "Relaxed"},  {45, "Relaxed"},  {60, "Relaxed"},
    };
    for (const auto& [celsius, word] : cases) EXPECT_EQ(ThresholdChoice::word(celsius), word) << celsius;
}

TEST(SettingChoices, ProfilesAndALimitSetByHand) {
    const std::vector<Choice> profiles = C::profiles();
    ASSERT_EQ(profiles.size(), 3u);
    EXPECT_EQ(profiles[1], (Choice{75, "75%", true,
                                   "Plugged in most of the time · Unplugged now and then, for a meeting"}));
    EXPECT_EQ(C::profileFor(80).help, "Set by hand · You need the range when you leave");
    EXPECT_EQ(C::profileFor(80).label, "80%");
    EXPECT_EQ(C::profileFor(60).help, profiles[0].help);
    EXPECT_EQ(C::profileLine(85), "Often on battery");
    EXPECT_EQ(C::profileLine(80), "Set by hand");
}

TEST(SettingChoices, TheRestingRangeNeverGoesBelowTwenty) {
    struct Case {
        int limit;
        int hysteresis;
        const char* label;
        const char* help;
    };
    const Case cases[] = {
        {80, 5, "below 75%", "After a small drop"}, {22, 5, "below 20%", "After a small drop"},
        {20, 10, "below 20%", "After a real drop"}, {80, 2, "below 78%", "As soon as it dips a little"},
        {80, 3, "below 77%", "After a real drop"},
    };
    for (const Case& c : cases) {
        const Choice shown = C::restingFor(c.limit, c.hysteresis);
        EXPECT_EQ(shown.label, c.label) << c.limit << "/" << c.hysteresis;
        EXPECT_EQ(shown.help, c.help) << c.limit << "/" << c.hysteresis;
    }
    EXPECT_TRUE(C::restingFor(80, 5).recommended);
}

TEST(SettingChoices, BlinkSpeedsRunFromHalfASecondToFiveAndStoredValuesAreClamped) {
    const std::vector<Choice> speeds = C::blinkSpeeds();
    ASSERT_EQ(speeds.size(), 10u);
    EXPECT_EQ(speeds.front().label, "0.5 s");
    EXPECT_EQ(speeds.back().label, "5 s");
    const std::pair<double, double> stored[] = {{7, 5}, {0.1, 0.5}, {2, 2}, {-1, 0.5}};
    for (const auto& [value, shown] : stored) EXPECT_EQ(C::shownBlinkSeconds(value), shown) << value;
}

TEST(SettingChoices, ValuesThatAreNoOptionStillReadAsThemselves) {
    EXPECT_EQ(C::overheatingFor(42).label, "42 °C");
    EXPECT_EQ(C::overheatingFor(42).help, "Balanced");
    EXPECT_EQ(C::endOfTopUpFor(12).label, "After 12 hours");
    EXPECT_EQ(C::endOfTopUpFor(0).help, "As soon as you leave with the Mac");
    EXPECT_EQ(C::historyFor(1095).label, "3 years");
    EXPECT_EQ(C::historyFor(45).label, "45 days");
}

TEST(SettingChoices, TheLimitStepsByOneOrByFiveFromEightyInNativeMode) {
    const std::tuple<int, bool, int> cases[] = {
        {5, false, 20}, {64, false, 64}, {130, false, 100}, {64, true, 80},
        {82, true, 80}, {83, true, 85},  {99, true, 100},   {101, true, 100},
    };
    for (const auto& [value, native, landed] : cases) EXPECT_EQ(C::limitAt(value, native), landed) << value;
}

TEST(SettingChoices, TheNativeNoteTellsTheFloorWhenTheLimitIsBelowIt) {
    SystemLock native;
    native.macOSMajor = 26;
    native.usesNative = true;
    EXPECT_EQ(C::nativeNote(70, 80, native),
              "macOS won’t hold a limit below 80% on this Mac, so Torvel holds 80%.");
    EXPECT_EQ(C::nativeNote(85, 80, native),
              "On macOS 26, Torvel sets macOS’s own charge limit. Change it here, not in System Settings.");
    EXPECT_EQ(C::nativeNote(70, 80, SystemLock{}), std::nullopt);
    EXPECT_EQ(C::limitFootnote(80, true, native),
              "On macOS 26, macOS itself tops the battery up, 5 points below the limit.");
    EXPECT_EQ(C::limitFootnote(80, false, SystemLock{}), std::nullopt)
        << "no resting range while the limit is off";
}

}  // namespace
}  // namespace torvel
