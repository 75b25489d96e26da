#include "app/app_switches.h"

#include "common/texts.h"

namespace torvel {

std::vector<AppSwitch> AppCommandLineWords::switches() {
    return {
        {{"settings", "reglages"},
         tr("section"),
         tr("Open the main window at a section: today, settings, mac, memory or calibration.")},
        {{"window"}, {}, tr("Open the main window, as the launcher in the application list does.")},
        {{"panel", "panneau"}, {}, tr("Show the tray panel in an ordinary window.")},
        {{"onboarding"}, {}, tr("Open the first-run flow for review.")},
        {{"arrival"}, {}, tr("Play the charger’s arrival animation once, shortly after start.")},
        {{"dark"}, {}, tr("Draw in the dark appearance whatever the desktop’s.")},
        {{"step"},
         tr("name"),
         tr("With --screenshot --onboarding, the screen to render: welcome, service, installFailed, "
            "awaitingApproval, handOver, tuning, done, checking, unsupported or probeFailed.")},
        {{"screenshot"},
         tr("file"),
         tr("Render the panel, or with --settings that section of the main window, with --onboarding a "
            "first-run screen, with --arrival the charger’s arrival, into a PNG file offscreen, then exit.")},
        {{"headless"}, {}, tr("No window: print the charge and the panel’s line every second.")},
        {{"seconds"}, "N", tr("Stop a headless run after N seconds.")},
        {{"locale"}, tr("id"), tr("The locale of numbers and dates, such as en or ja.")},
        {{"range"}, tr("span"), tr("The span Long memory shows: day, week, month or year.")},
        {{"h", "help"}, {}, tr("Show this and exit.")},
        {{"v", "version"}, {}, tr("Show the version and exit.")},
    };
}

std::string AppCommandLineWords::description() {
    return tr("Keeps the battery inside the charge range you choose, from the system tray.");
}

std::string AppCommandLineWords::usageLine() {
    return tr("Usage: torvel [options]");
}

std::string AppCommandLineWords::optionsHeading() {
    return tr("Options:");
}

std::string AppCommandLineWords::refused(const std::string& complaint) {
    return tr("%1 (try --help)", {complaint});
}

std::string AppCommandLineWords::unknownSwitch(const std::string& word) {
    return tr("unknown switch %1 (try --help)", {word});
}

std::string AppCommandLineWords::valueNeeded(const std::string& name) {
    return tr("%1 needs a value (try --help)", {name});
}

std::string AppCommandLineWords::secondsNeeded() {
    return tr("--seconds needs a whole number of seconds");
}

std::string AppCommandLineWords::localeNeeded() {
    return tr("--locale needs a locale identifier such as en or ja");
}

std::string AppCommandLineWords::rangeNeeded() {
    return tr("--range needs one of day, week, month or year");
}

}  // namespace torvel
