#include "app/start_up.h"

#include <algorithm>

namespace torvel {

LaunchSwitches LaunchSwitches::parse(std::span<const std::string> arguments) {
    LaunchSwitches switches;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--arrival") switches.arrival = true;
        if (word == "--onboarding") switches.onboarding = true;
        if (word == "--panel" || word == "--panneau") switches.panel = true;
        if (word == "--window") switches.window = true;
        if ((word == "--settings" || word == "--reglages") && i + 1 < arguments.size()) {
            switches.settingsSection = arguments[i + 1];
        }
    }
    return switches;
}

StartUpPlan StartUpPlan::decide(const LaunchSwitches& switches, bool onboardingSeen, bool settingUpService) {
    StartUpPlan plan;
    plan.playArrival = switches.arrival;
    // The panel review is for screenshots of the panel; a first-run window over it would spoil them.
    plan.showOnboarding = !onboardingSeen && !switches.panel && !settingUpService;
    plan.reviewOnboarding = switches.onboarding;
    plan.showPanelWindow = switches.panel;
    if (switches.settingsSection) {
        // Someone asked for the window; an unknown name still opens it, on the first tab.
        plan.mainWindowSection = AppSection::named(*switches.settingsSection).value_or(AppSection::today);
    } else if (switches.window) {
        plan.mainWindowSection = AppSection::today;
    }
    return plan;
}

StartUpPlan StartUpPlan::handedOver(const LaunchSwitches& switches) {
    StartUpPlan plan = decide(switches, true, false);
    if (plan == StartUpPlan{}) plan.mainWindowSection = AppSection::today;
    return plan;
}

DockPresence::Policy DockPresence::wanted(std::span<const Window> windows) {
    const bool anyShown = std::any_of(windows.begin(), windows.end(),
                                      [](const Window& w) { return w.visible && w.normalLevel; });
    return anyShown ? Policy::regular : Policy::accessory;
}

std::optional<DockPresence::Change> DockPresence::update(Policy current, std::span<const Window> windows) {
    const Policy policy = wanted(windows);
    if (policy == current) return std::nullopt;
    // Becoming regular without activating would leave the new window behind whatever had the focus.
    return Change{policy, policy == Policy::regular};
}

}  // namespace torvel
