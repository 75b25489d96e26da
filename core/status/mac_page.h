#pragma once

#include <optional>
#include <string>
#include <vector>

#include "battery/system_lock.h"
#include "common/view_words.h"
#include "extras/login_item.h"
#include "history/store.h"
#include "service/charge_settings.h"
#include "status/checkup.h"
#include "status/other_program.h"

namespace torvel {

// What the Mac page says about the checkup: its head (headline, subline, the one prominent fix), the
// explanation under each row and the facts of the troubleshooting card. Pure functions of the models' values.
struct MacPage {
    // Everything the page reads beyond the checkup's own readings.
    struct Facts {
        ServiceState serviceState = ServiceState::running;
        bool writeError = false;
        std::optional<std::string> serviceError;
        bool systemLocked = false;
        int systemMajor = 0;
        bool migrating = false;
        bool migrationFallback = false;
        std::optional<bool> gateVerified;
        int limit = 80;
        // The user's own limit, which `limit` (the one held) may differ from.
        int askedLimit = 80;
        std::optional<std::string> chargeError;
        std::optional<int> nativeLimit;
        std::optional<OtherProgramNote> otherProgram;
        bool ledSupported = true;
        bool loginNeedsApproval = false;
        bool checkingForUpdates = false;
        std::optional<double> daemonStartedAt;
        double now = 0;
        HistoryStore::Summary history;

        static Facts from(const ChargeSettingsState& settings, ServiceState state, const SystemLock& lock,
                          LoginItem::Status login, bool checkingForUpdates,
                          const HistoryStore::Summary& history, double now);
    };

    struct Fix {
        enum class Action {
            copyReport,        // the diagnostic report to the clipboard
            installService,    // the install helper, or the unit switched on where it is
            openLoginItems,    // where the system approves background items
            replaceService,    // the migration away from a unit that hides the package's
            openTerminal,      // the migration command, for the user to run
            updateService,     // restart the outdated service
            reinstallService,  // register a stopped service afresh
        };
        std::string title;
        Action action;
        bool busy = false;  // the operation runs: the title is its progress word and the button waits
        bool operator==(const Fix&) const = default;
    };

    // A line of the troubleshooting card: "Battery BAT1", "62%, held by its charge thresholds at 75% to 80%."
    struct InfoLine {
        std::string label;
        std::string value;
        bool operator==(const InfoLine&) const = default;
    };

    struct Row {
        Checkup::Piece piece;
        Checkup::Level level;
        std::string title;
        std::string word;
        std::string explanation;
        std::optional<std::string> button;  // the row's own button, when it has one
    };

    static std::string headline(const Checkup& checkup);
    static std::string subline(const Checkup& checkup, const Facts& facts);
    static std::optional<Fix> serviceFix(const Facts& facts);
    static std::string explanation(Checkup::Piece piece, const Facts& facts);
    static std::optional<std::string> rowButton(Checkup::Piece piece, const Facts& facts);
    static std::vector<Row> rows(const Checkup& checkup, const Facts& facts);

    // "Running for 3d 4h"; "Not running" without a start time.
    static std::string runningTime(std::optional<double> startedAt, double now);
    // Told once, on a desktop with no tray host: where the app went. Absent when the icon is in a tray.
    static std::optional<std::string> trayNote(bool inTray);
    // "12 days recorded, 1.2 MB"; absent when nothing is recorded yet.
    static std::optional<std::string> historyAmount(const HistoryStore::Summary& history);
    // The journal's size on disk for the troubleshooting card, or that there is none yet.
    static std::string historyOnDisk(const HistoryStore::Summary& history);
    // "Version 1.2 (1.2)": the version and the build.
    static std::string versionLine(std::string_view version, std::string_view build);
    // The page's fixed words.
    static ViewWords words();
    // The control files the service writes, or what holds the charge instead.
    static std::string chargeMechanism(const PublishedStatus& status);
    static std::string forcedDischarge(const PublishedStatus& status);
    // One line per battery in its bay, for the troubleshooting card, after the charge mechanism.
    static std::vector<InfoLine> batteryLines(const PublishedStatus& status);
};

}  // namespace torvel
