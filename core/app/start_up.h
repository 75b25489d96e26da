#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/section.h"

namespace torvel {

// The review switches of the command line, for screenshots and for looking at one screen directly.
struct LaunchSwitches {
    bool arrival = false;                        // "--arrival"
    bool onboarding = false;                     // "--onboarding"
    bool panel = false;                          // "--panel" or "--panneau"
    bool window = false;                         // "--window": the launcher's, the main window at once
    std::optional<std::string> settingsSection;  // the word after "--settings" or "--reglages"

    // `arguments` without the program name; words the app does not know are left to others (Qt's own).
    static LaunchSwitches parse(std::span<const std::string> arguments);
    bool operator==(const LaunchSwitches&) const = default;
};

// What the one-time start-up sequence opens, in the order the app performs it.
struct StartUpPlan {
    static constexpr double arrivalDelaySeconds = 0.6;

    bool playArrival = false;
    bool showOnboarding = false;    // the full first-run flow
    bool reviewOnboarding = false;  // the flow opened for review
    bool showPanelWindow = false;
    std::optional<AppSection> mainWindowSection;

    bool operator==(const StartUpPlan&) const = default;

    // `settingUpService` is the settings model's flag for a service replacement under way: the flow would
    // only get in its way.
    static StartUpPlan decide(const LaunchSwitches& switches, bool onboardingSeen, bool settingUpService);
    // What a second launch asks of the copy already running: what its switches name, else the main window,
    // since a user who starts the app again wants to see it.
    static StartUpPlan handedOver(const LaunchSwitches& switches);
};

// Whether the app shows a Dock icon (and a menu bar of its own) or runs as an accessory.
struct DockPresence {
    enum class Policy { regular, accessory };

    struct Window {
        bool visible = false;
        bool normalLevel = true;  // panels and overlays sit above the normal level and do not count
    };

    struct Change {
        Policy policy;
        bool activate;  // bring the window just opened to the front
        bool operator==(const Change&) const = default;
    };

    static Policy wanted(std::span<const Window> windows);
    // Absent when the current policy already matches.
    static std::optional<Change> update(Policy current, std::span<const Window> windows);
};

}  // namespace torvel
