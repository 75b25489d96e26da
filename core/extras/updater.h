#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/dates.h"
#include "common/paths.h"

namespace torvel {

// What the update checker knows, as the settings page and the checkup read it. The app's `Updater` owns
// the network side and applies the callbacks below; the changes themselves live here so they are tested
// without a feed.
struct UpdaterState {
    std::optional<std::string> available;  // display version of an update that was found
    bool critical = false;
    bool checking = false;
    std::optional<Instant> lastCheck;
    bool unreachable = false;
    bool automatic = false;

    bool operator==(const UpdaterState&) const = default;

    // The checker's code for a check that found nothing newer: a normal end, not a failure to reach the feed.
    static constexpr long noUpdateFoundCode = 1001;

    void updateFound(std::string displayVersion, bool isCritical);
    void noUpdateFound();
    // `errorCode` is absent when the cycle ended without an error; `checkerLastCheck` is the checker's own
    // record of its last check, which becomes ours.
    void cycleFinished(std::optional<long> errorCode, std::optional<Instant> checkerLastCheck);

    // The [updates] group of the app's settings file: automatic and critical as booleans, available as the
    // version text (empty means none), lastCheck as seconds since 1970. Anything unreadable is left out.
    static UpdaterState fromSettings(std::string_view iniText);
    // $XDG_CONFIG_HOME/Torvel/Torvel.conf (or under ~/.config).
    static std::optional<std::filesystem::path> settingsFile(const Paths::Environment& env);
};

// The updater's state in words: `status` for the settings page, `shortText` where there is little room.
struct UpdateWords {
    static std::string status(const UpdaterState& updater);
    static std::string status(const UpdaterState& updater, std::string_view localeId);
    static std::string shortText(const UpdaterState& updater);

    // The medium date style without a time ("Mar 7, 2025" in English), in the display locale's calendar.
    static std::optional<std::string> mediumDate(Instant instant, std::string_view localeId);
};

}  // namespace torvel
