#include "app/start_up.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvel {
namespace {

StartUpPlan planFor(std::vector<std::string> arguments, bool onboardingSeen, bool settingUp = false) {
    return StartUpPlan::decide(LaunchSwitches::parse(arguments), onboardingSeen, settingUp);
}

TEST(StartUp, WhatTheSwitchesOpen) {
    struct Case {
        const char* what;
        std::vector<std::string> arguments;
        bool seen;
        bool settingUp;
        // playArrival, showOnboarding, reviewOnboarding, showPanelWindow, mainWindowSection
        StartUpPlan plan;
    };
    const Case cases[] = {
        {"first launch", {}, false, false, {false, true, false, false, std::nullopt}},
        {"later launch", {}, true, false, StartUpPlan{}},
        {"first launch while the service is replaced", {}, false, true, StartUpPlan{}},
        {"panel review instead of the first run",
         {"--panel"},
         false,
         false,
         {false, false, false, true, std::nullopt}},
        {"panel in French", {"--panneau"}, true, false, {false, false, false, true, std::nullopt}},
        {"onboarding review", {"--onboarding"}, true, false, {false, false, true, false, std::nullopt}},
        {"arrival", {"--arrival"}, true, false, {true, false, false, false, std::nullopt}},
        {"a section", {"--settings", "advanced"}, true, false, {false, false, false, false, AppSection::mac}},
        {"a section in French",
         {"--reglages", "journal"},
         true,
         false,
         {false, false, false, false, AppSection::today}},
        {"an unknown section opens the first tab",
         {"--settings", "nowhere"},
         true,
         false,
         {false, false, false, false, AppSection::today}},
        {"a section switch without a name", {"--settings"}, true, false, StartUpPlan{}},
        {"toolkit arguments are ignored",
         {"-platform", "offscreen", "--arrival"},
         true,
         false,
         {true, false, false, false, std::nullopt}},
    };
    for (const auto& c : cases) EXPECT_EQ(planFor(c.arguments, c.seen, c.settingUp), c.plan) << c.what;
}

TEST(DockPresence, RegularOnlyWithANormalWindowShown) {
    using Policy = DockPresence::Policy;
    using Window = DockPresence::Window;
    using Change = DockPresence::Change;
    struct Case {
        const char* what;
        Policy current;
        std::vector<Window> windows;
        std::optional<Change> change;
    };
    const Case cases[] = {
        {"main window opened", Policy::accessory, {{true, true}}, Change{Policy::regular, true}},
        {"last window closed", Policy::regular, {{false, true}}, Change{Policy::accessory, false}},
        {"only the panel is open", Policy::regular, {{true, false}}, Change{Policy::accessory, false}},
        {"already regular", Policy::regular, {{true, false}, {true, true}}, std::nullopt},
        {"already an accessory", Policy::accessory, {}, std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(DockPresence::update(c.current, c.windows), c.change) << c.what;
}

}  // namespace
}  // namespace torvel
