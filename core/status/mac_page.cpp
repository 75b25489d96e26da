#include "status/mac_page.h"

#include "common/fmt.h"
#include "common/sentence.h"
#include "common/texts.h"
#include "history/words.h"
#include "service/control_words.h"
#include "status/diagnostics.h"

namespace torvel {

using Level = Checkup::Level;
using Piece = Checkup::Piece;

MacPage::Facts MacPage::Facts::from(const ChargeSettingsState& settings, ServiceState state,
                                    const SystemLock& lock, LoginItem::Status login, bool checkingForUpdates,
                                    const HistoryStore::Summary& history, double now) {
    const PublishedStatus& published = settings.status.published;
    return Facts{
        .serviceState = state,
        .writeError = settings.writeError.has_value(),
        .serviceError = settings.serviceError,
        .systemLocked = lock.active,
        .systemMajor = lock.macOSMajor,
        .migrating = settings.migrating,
        .migrationFallback = settings.migrationFallback,
        .gateVerified = published.gateVerified,
        .limit = settings.heldLimit(),
        .askedLimit = settings.settings.limit,
        .chargeError = published.chargeError,
        .nativeLimit = published.nativeLimit,
        .otherProgram = OtherProgramNote::from(published),
        .ledSupported = published.ledSupported,
        .loginNeedsApproval = login == LoginItem::Status::requiresApproval,
        .checkingForUpdates = checkingForUpdates,
        .daemonStartedAt = published.startedAt,
        .now = now,
        .history = history,
    };
}

std::string MacPage::headline(const Checkup& checkup) {
    switch (checkup.level()) {
        case Level::ok:
        case Level::off:
            return tr("Yes, everything’s in place.");
        case Level::todo: {
            const int count = checkup.todoCount();
            return trn("Almost. One thing to do.", "Almost. %1 things to do.", count,
                       {Spelled::count(count, true)});
        }
        case Level::broken:
            return tr("Something’s wrong.");
    }
    return {};
}

namespace {

std::string serviceSubline(const MacPage::Facts& facts) {
    if (facts.writeError) {
        return tr(
            "Torvel can’t pass your settings to the charge service. It keeps applying the last ones it "
            "received.");
    }
    switch (facts.serviceState) {
        case ServiceState::notInstalled:
            return tr("Without its charge service, Torvel can’t hold your limit.");
        case ServiceState::awaitingApproval:
            return tr("macOS is waiting for your OK, once.");
        case ServiceState::needsMigration:
            return tr("The old hand-installed service has to make way, once.");
        case ServiceState::elsewhere:
            return tr("Torvel has to be in your Applications folder to take its service back.");
        case ServiceState::outdated:
            return tr("The charge service didn’t follow Torvel’s last update.");
        case ServiceState::stale:
            return tr("The charge service stopped answering. Charging went back to macOS.");
        default:
            return tr("The charge service needs a hand.");
    }
}

}  // namespace

std::string MacPage::subline(const Checkup& checkup, const Facts& facts) {
    const auto problem = checkup.firstProblem();
    if (!problem) {
        return tr(
            "Torvel is protecting your battery, even when it’s closed. Green is running on this Mac; grey is "
            "left to macOS, or switched off by you.");
    }
    // A missing service is the root of whatever else is wrong, even when the lock makes its row grey.
    if (*problem == Piece::service || facts.serviceState == ServiceState::notInstalled) {
        return serviceSubline(facts);
    }
    switch (*problem) {
        case Piece::login:
            if (facts.loginNeedsApproval)
                return tr("macOS is waiting for your OK to open Torvel at startup.");
            break;
        case Piece::verified:
            if (facts.gateVerified == false) return tr("Charging goes on past your limit.");
            if (facts.systemLocked) {
                return tr("Torvel can’t hold your limit on macOS %1 yet.",
                          {std::to_string(facts.systemMajor)});
            }
            break;
        case Piece::updates:
            return tr("A new version of Torvel is ready.");
        case Piece::control:
            if (facts.chargeError) return tr("The battery didn’t take your limit.");
            if (facts.otherProgram) return tr("Another program sets the charge limit too.");
            break;
        default:
            break;
    }
    return tr("Something needs a look.");
}

std::optional<MacPage::Fix> MacPage::serviceFix(const Facts& facts) {
    using Action = Fix::Action;
    // With the service's own words on record, the report is what helps most, whatever the state.
    if (facts.serviceError) return Fix{tr("Copy the diagnostic report"), Action::copyReport};
    switch (facts.serviceState) {
        case ServiceState::notInstalled:
            if (facts.systemLocked) return std::nullopt;
            return Fix{tr("Install the service"), Action::installService};
        case ServiceState::awaitingApproval:
            return Fix{tr("Open Login Items"), Action::openLoginItems};
        case ServiceState::needsMigration:
            if (facts.migrationFallback) return Fix{tr("Open Terminal"), Action::openTerminal};
            if (facts.migrating) return Fix{tr("Replacing…"), Action::replaceService, true};
            return Fix{tr("Replace the service…"), Action::replaceService};
        case ServiceState::outdated:
            return Fix{tr("Update the service"), Action::updateService};
        case ServiceState::stale:
            return Fix{tr("Reinstall the service"), Action::reinstallService};
        case ServiceState::elsewhereInApplications:
        case ServiceState::elsewhere:
        case ServiceState::unknown:
        case ServiceState::running:
            return std::nullopt;
    }
    return std::nullopt;
}

std::string MacPage::explanation(Piece piece, const Facts& facts) {
    switch (piece) {
        case Piece::service:
            if (facts.systemLocked) {
                return tr(
                    "macOS %1 changed the way charging is controlled, and Torvel can’t hold your limit on it "
                    "yet: "
                    "your battery charges as it would without Torvel. We’re working on it. Until then, macOS "
                    "can "
                    "hold 80% on its own: System Settings ▸ Battery.",
                    {std::to_string(facts.systemMajor)});
            }
            return runningTime(facts.daemonStartedAt, facts.now);
        case Piece::verified:
            if (facts.gateVerified == false) {
                return tr(
                    "Torvel asked the controller to stop charging and the current kept flowing. The limit "
                    "isn’t holding on this Mac right now.");
            }
            if (facts.gateVerified == true) {
                return tr(
                    "Charging really stops at %1%. Torvel measured it, rather than taking the controller’s "
                    "word "
                    "for it.",
                    {std::to_string(facts.limit)});
            }
            return tr("It gets checked the first time the service holds the charge with the Mac plugged in.");
        case Piece::control:
            if (facts.chargeError) return ControlWords::notHeld(*facts.chargeError);
            if (facts.otherProgram) return facts.otherProgram->text;
            if (facts.nativeLimit) return ControlWords::heldInstead(facts.askedLimit, *facts.nativeLimit);
            return tr(
                "Torvel is the only program setting the charge limit, and the battery takes it as asked.");
        case Piece::led:
            if (!facts.ledSupported) return tr("This Mac has no MagSafe light we can drive.");
            return tr(
                "Steady green at your limit, amber on a normal charge. It can be seen with the lid shut. "
                "Left to "
                "macOS, it still lights up the usual way.");
        case Piece::login:
            if (facts.loginNeedsApproval) return tr("macOS needs your OK in System Settings ▸ Login Items.");
            return tr(
                "Torvel comes back to the menu bar when you turn the Mac on. Your limit holds even without "
                "it.");
        case Piece::history: {
            const auto amount = historyAmount(facts.history);
            if (!amount)
                return tr(
                    "Nothing recorded yet. It never leaves this Mac, and it feeds the journal and the long "
                    "memory.");
            return tr("%1. It never leaves this Mac, and it feeds the journal and the long memory.",
                      {*amount});
        }
        case Piece::updates:
            return tr("Nothing installs until you say yes.");
    }
    return {};
}

std::optional<std::string> MacPage::rowButton(Piece piece, const Facts& facts) {
    if (piece == Piece::login && facts.loginNeedsApproval) return tr("Open Login Items");
    if (piece == Piece::updates) return facts.checkingForUpdates ? tr("Checking") : tr("Check now");
    return std::nullopt;
}

std::vector<MacPage::Row> MacPage::rows(const Checkup& checkup, const Facts& facts) {
    std::vector<Row> rows;
    for (const auto& reading : checkup.readings()) {
        rows.push_back({reading.piece, reading.level, std::string(Checkup::title(reading.piece)),
                        reading.word, explanation(reading.piece, facts), rowButton(reading.piece, facts)});
    }
    return rows;
}

std::string MacPage::runningTime(std::optional<double> startedAt, double now) {
    if (!startedAt) return tr("Not running");
    const double seconds = now - *startedAt;
    if (seconds < 60) return tr("Running, just started");
    return tr("Running for %1", {DayWords::protectedTotal(seconds)});
}

std::optional<std::string> MacPage::trayNote(bool inTray) {
    if (inTray) return std::nullopt;
    return tr(
        "This desktop shows no tray icons, so Torvel keeps working in the background: open it from the "
        "application list whenever you want to see or change how your battery is charged.");
}

std::optional<std::string> MacPage::historyAmount(const HistoryStore::Summary& history) {
    if (history.days <= 0) return std::nullopt;
    return trn("%1 day recorded, %2", "%1 days recorded, %2", history.days,
               {std::to_string(history.days), Diagnostics::byteCount(history.bytes)});
}

std::string MacPage::historyOnDisk(const HistoryStore::Summary& history) {
    return history.days > 0 ? Diagnostics::byteCount(history.bytes) : tr("Nothing yet");
}

std::string MacPage::versionLine(std::string_view version, std::string_view build) {
    return tr("Version %1 (%2)", {version, build});
}

ViewWords MacPage::words() {
    return {
        {"copyReport", tr("Copy the diagnostic report")},
        {"copied", tr("Copied")},
        {"copiedNote", tr("Copied to the clipboard.")},
        {"reset", tr("Reset")},
        {"removeEverything", tr("Remove and erase data")},
        {"privacyNote", tr("Torvel sends nothing: no analytics, no device ID.")},
        {"checkup", tr("Checkup")},
        {"troubleshooting", tr("Troubleshooting")},
        {"machine", tr("Mac")},
        {"system", tr("macOS")},
        {"torvel", tr("Torvel")},
        {"chargeService", tr("Charge service")},
        {"chargeMechanism", tr("Charge mechanism")},
        {"forcedDischarge", tr("Forced discharge")},
        {"historyOnDisk", tr("History on disk")},
        {"report", tr("Diagnostic report")},
        {"reportHelp",
         tr("Everything above in one block, to attach to a bug report. It goes to your clipboard and "
            "nowhere else.")},
        {"resetCounter", tr("Reset the counter")},
        {"resetHelp", tr("The protected-time counter goes back to zero. Your history isn’t touched.")},
        {"remove", tr("Remove Torvel from this Mac")},
        {"removeHelp", tr("Charging goes back to macOS straight away.")},
        {"website", tr("Website")},
        {"privacy", tr("Privacy")},
        {"writeToUs", tr("Write to us")},
        {"removeQuestion", tr("Remove Torvel’s service and erase its data?")},
        {"removeMessage",
         tr("Your settings, statistics and your whole battery history are deleted. Charging goes back "
            "to macOS straight away. This can’t be undone.")},
        {"eraseEverything", tr("Erase everything")},
        {"cancel", tr("Cancel")},
    };
}

std::string MacPage::chargeMechanism(const PublishedStatus& status) {
    if (!status.smcKeys.empty()) {
        std::string keys;
        for (const auto& key : status.smcKeys) keys += (keys.empty() ? "" : ", ") + key;
        return keys;
    }
    if (status.chargeMode) return *status.chargeMode;
    return tr("Unknown");
}

std::vector<MacPage::InfoLine> MacPage::batteryLines(const PublishedStatus& status) {
    std::vector<InfoLine> lines;
    for (const auto& battery : status.batteries) {
        const std::string charge = battery.pct ? Fmt::percent(*battery.pct) : tr("Charge unknown");
        std::string value;
        if (battery.error) {
            value = tr("%1. The last change didn’t take: %2.", {charge, *battery.error});
        } else if (battery.endThreshold && battery.mode && battery.mode->starts_with("thresholds")) {
            value = tr("%1, held by its charge thresholds at %2 to %3.",
                       {charge, Fmt::percent(battery.startThreshold.value_or(0)),
                        Fmt::percent(*battery.endThreshold)});
        } else if (battery.mode) {
            value = tr("%1, held by pausing its charging (now %2).",
                       {charge, battery.behaviour ? *battery.behaviour : tr("unknown")});
        } else {
            value = tr("%1, not held: its driver offers no way to stop charging.", {charge});
        }
        lines.push_back({tr("Battery %1", {battery.name}), std::move(value)});
    }
    return lines;
}

std::string MacPage::forcedDischarge(const PublishedStatus& status) {
    return status.dischargeSupported && !status.dischargeFailed ? tr("Available") : tr("Unavailable");
}

}  // namespace torvel
