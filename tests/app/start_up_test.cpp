#include "app/start_up.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

// Each plan names only what it opens.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

TEST(StartUp, WhatTheSwitchesOpen) {
    const StartUpPlan nothing, onboarding{.showOnboarding = true}, review{.reviewOnboarding = true},
        panel{.showPanelWindow = true}, arrival{.playArrival = true},
        mac{.mainWindowSection = AppSection::mac}, today{.mainWindowSection = AppSection::today};
    struct Case {
        const char* what;
        std::vector<std::string> arguments;
        bool seen, settingUp;
        StartUpPlan plan;
    };
    // clang-format off
    const Case cases[] = {
        {"first launch", {}, false, false, onboarding},
        {"later launch", {}, true, false, nothing},
        {"first launch while the service is replaced", {}, false, true, nothing},
        {"panel review instead of the first run", {"--panel"}, false, false, panel},
        {"panel in French", {"--panneau"}, true, false, panel},
        {"onboarding review", {"--onboarding"}, true, false, review},
        {"arrival", {"--arrival"}, true, false, arrival},
        {"a section", {"--settings", "advanced"}, true, false, mac},
        {"a section in French", {"--reglages", "journal"}, true, false, today},
        {"an unknown section opens the first tab", {"--settings", "nowhere"}, true, false, today},
        {"a section switch without a name", {"--settings"}, true, false, nothing},
        {"toolkit arguments are ignored", {"-platform", "offscreen", "--arrival"}, true, false, arrival},
        {"from the launcher", {"--window"}, true, false, today},
        {"from the launcher at a section", {"--window", "--settings", "advanced"}, true, false, mac},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(StartUpPlan::decide(LaunchSwitches::parse(c.arguments), c.seen, c.settingUp), c.plan)
            << c.what;
    }
}

TEST(StartUp, WhatASecondLaunchOpensInTheFirst) {
    const StartUpPlan panel{.showPanelWindow = true}, mac{.mainWindowSection = AppSection::mac},
        today{.mainWindowSection = AppSection::today};
    const std::pair<std::vector<std::string>, StartUpPlan> cases[] = {
        {{}, today},  // never the first run again, and never nothing at all
        {{"--settings", "advanced"}, mac},
        {{"--panel"}, panel},
    };
    for (const auto& [arguments, plan] : cases) {
        EXPECT_EQ(StartUpPlan::handedOver(LaunchSwitches::parse(arguments)), plan) << arguments.size();
    }
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
