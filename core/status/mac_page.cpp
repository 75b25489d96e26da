#include "status/mac_page.h"

#include "common/fmt.h"
#include "common/sentence.h"
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
            return "Yes, everything’s in place.";
        case Level::todo: {
            const int count = checkup.todoCount();
            if (count == 1) return "Almost. One thing to do.";
            return "Almost. " + Spelled::count(count, true) + " things to do.";
        }
        case Level::broken:
            return "Something’s wrong.";
    }
    return {};
}

namespace {

std::string serviceSubline(const MacPage::Facts& facts) {
    if (facts.writeError) {
        return "Torvel can’t pass your settings to the charge service. It keeps applying the last ones it "
               "received.";
    }
    switch (facts.serviceState) {
        case ServiceState::notInstalled:
            return "Without its charge service, Torvel can’t hold your limit.";
        case ServiceState::awaitingApproval:
            return "macOS is waiting for your OK, once.";
        case ServiceState::needsMigration:
            return "The old hand-installed service has to make way, once.";
        case ServiceState::elsewhere:
            return "Torvel has to be in your Applications folder to take its service back.";
        case ServiceState::outdated:
            return "The charge service didn’t follow Torvel’s last update.";
        case ServiceState::stale:
            return "The charge service stopped answering. Charging went back to macOS.";
        default:
            return "The charge service needs a hand.";
    }
}

}  // namespace

std::string MacPage::subline(const Checkup& checkup, const Facts& facts) {
    const auto problem = checkup.firstProblem();
    if (!problem) {
        return "Torvel is protecting your battery, even when it’s closed. Green is running on this Mac; grey "
               "is "
               "left to macOS, or switched off by you.";
    }
    // A missing service is the root of whatever else is wrong, even when the lock makes its row grey.
    if (*problem == Piece::service || facts.serviceState == ServiceState::notInstalled) {
        return serviceSubline(facts);
    }
    switch (*problem) {
        case Piece::login:
            if (facts.loginNeedsApproval) return "macOS is waiting for your OK to open Torvel at startup.";
            break;
        case Piece::verified:
            if (facts.gateVerified == false) return "Charging goes on past your limit.";
            if (facts.systemLocked) {
                return "Torvel can’t hold your limit on macOS " + std::to_string(facts.systemMajor) + " yet.";
            }
            break;
        case Piece::updates:
            return "A new version of Torvel is ready.";
        case Piece::control:
            if (facts.chargeError) return "The battery didn’t take your limit.";
            if (facts.otherProgram) return "Another program sets the charge limit too.";
            break;
        default:
            break;
    }
    return "Something needs a look.";
}

std::optional<MacPage::Fix> MacPage::serviceFix(const Facts& facts) {
    using Action = Fix::Action;
    // With the service's own words on record, the report is what helps most, whatever the state.
    if (facts.serviceError) return Fix{"Copy the diagnostic report", Action::copyReport};
    switch (facts.serviceState) {
        case ServiceState::notInstalled:
            if (facts.systemLocked) return std::nullopt;
            return Fix{"Install the service", Action::installService};
        case ServiceState::awaitingApproval:
            return Fix{"Open Login Items", Action::openLoginItems};
        case ServiceState::needsMigration:
            if (facts.migrationFallback) return Fix{"Open Terminal", Action::openTerminal};
            if (facts.migrating) return Fix{"Replacing…", Action::replaceService, true};
            return Fix{"Replace the service…", Action::replaceService};
        case ServiceState::outdated:
            return Fix{"Update the service", Action::updateService};
        case ServiceState::stale:
            return Fix{"Reinstall the service", Action::reinstallService};
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
                const std::string major = std::to_string(facts.systemMajor);
                return "macOS " + major +
                       " changed the way charging is controlled, and Torvel can’t hold your limit on it yet: "
                       "your "
                       "battery charges as it would without Torvel. We’re working on it. Until then, macOS "
                       "can "
                       "hold 80% on its own: System Settings ▸ Battery.";
            }
            return runningTime(facts.daemonStartedAt, facts.now);
        case Piece::verified:
            if (facts.gateVerified == false) {
                return "Torvel asked the controller to stop charging and the current kept flowing. The limit "
                       "isn’t holding on this Mac right now.";
            }
            if (facts.gateVerified == true) {
                return "Charging really stops at " + std::to_string(facts.limit) +
                       "%. Torvel measured it, rather than taking the controller’s word for it.";
            }
            return "It gets checked the first time the service holds the charge with the Mac plugged in.";
        case Piece::control:
            if (facts.chargeError) return ControlWords::notHeld(*facts.chargeError);
            if (facts.otherProgram) return facts.otherProgram->text;
            if (facts.nativeLimit) return ControlWords::heldInstead(facts.askedLimit, *facts.nativeLimit);
            return "Torvel is the only program setting the charge limit, and the battery takes it as asked.";
        case Piece::led:
            if (!facts.ledSupported) return "This Mac has no MagSafe light we can drive.";
            return "Steady green at your limit, amber on a normal charge. It can be seen with the lid shut. "
                   "Left "
                   "to macOS, it still lights up the usual way.";
        case Piece::login:
            if (facts.loginNeedsApproval) return "macOS needs your OK in System Settings ▸ Login Items.";
            return "Torvel comes back to the menu bar when you turn the Mac on. Your limit holds even "
                   "without it.";
        case Piece::history: {
            constexpr const char* rest =
                ". It never leaves this Mac, and it feeds the journal and the long memory.";
            const auto amount = historyAmount(facts.history);
            if (!amount) return std::string("Nothing recorded yet") + rest;
            return *amount + rest;
        }
        case Piece::updates:
            return "Nothing installs until you say yes.";
    }
    return {};
}

std::optional<std::string> MacPage::rowButton(Piece piece, const Facts& facts) {
    if (piece == Piece::login && facts.loginNeedsApproval) return "Open Login Items";
    if (piece == Piece::updates) return facts.checkingForUpdates ? "Checking" : "Check now";
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
    if (!startedAt) return "Not running";
    const double seconds = now - *startedAt;
    if (seconds < 60) return "Running, just started";
    return "Running for " + DayWords::protectedTotal(seconds);
}

std::optional<std::string> MacPage::trayNote(bool inTray) {
    if (inTray) return std::nullopt;
    return "This desktop shows no tray icons, so Torvel keeps working in the background: open it from the "
           "application list whenever you want to see or change how your battery is charged.";
}

std::optional<std::string> MacPage::historyAmount(const HistoryStore::Summary& history) {
    if (history.days <= 0) return std::nullopt;
    return std::to_string(history.days) + (history.days == 1 ? " day" : " days") + " recorded, " +
           Diagnostics::byteCount(history.bytes);
}

std::string MacPage::chargeMechanism(const PublishedStatus& status) {
    if (!status.smcKeys.empty()) {
        std::string keys;
        for (const auto& key : status.smcKeys) keys += (keys.empty() ? "" : ", ") + key;
        return keys;
    }
    if (status.chargeMode) return *status.chargeMode;
    return "Unknown";
}

std::vector<MacPage::InfoLine> MacPage::batteryLines(const PublishedStatus& status) {
    std::vector<InfoLine> lines;
    for (const auto& battery : status.batteries) {
        const std::string charge = battery.pct ? Fmt::percent(*battery.pct) : "Charge unknown";
        std::string value;
        if (battery.error) {
            value = fillSentence("%1. The last change didn’t take: %2.", {charge, *battery.error});
        } else if (battery.endThreshold && battery.mode && battery.mode->starts_with("thresholds")) {
            value = fillSentence("%1, held by its charge thresholds at %2 to %3.",
                                 {charge, Fmt::percent(battery.startThreshold.value_or(0)),
                                  Fmt::percent(*battery.endThreshold)});
        } else if (battery.mode) {
            value = fillSentence("%1, held by pausing its charging (now %2).",
                                 {charge, battery.behaviour.value_or("unknown")});
        } else {
            value = fillSentence("%1, not held: its driver offers no way to stop charging.", {charge});
        }
        lines.push_back({fillSentence("Battery %1", {battery.name}), std::move(value)});
    }
    return lines;
}

std::string MacPage::forcedDischarge(const PublishedStatus& status) {
    return status.dischargeSupported && !status.dischargeFailed ? "Available" : "Unavailable";
}

}  // namespace torvel
