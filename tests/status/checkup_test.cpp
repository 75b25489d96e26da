#include "status/checkup.h"

#include <gtest/gtest.h>

namespace torvel {

void PrintTo(const Checkup::Fix& fix, std::ostream* os) {
    *os << '"' << fix.title << "\" action " << int(fix.action);
}
void PrintTo(Checkup::Piece piece, std::ostream* os) {
    *os << name(piece);
}
void PrintTo(Checkup::Level level, std::ostream* os) {
    *os << name(level);
}

namespace {

using Level = Checkup::Level;
using Piece = Checkup::Piece;
using Action = Checkup::Fix::Action;

// A machine where every piece reads ok: the service running and verified, started at login, the light
// driven, history recording and automatic update checks.
struct Machine {
    ChargeSettingsState settings;
    ServiceState state = ServiceState::running;
    SystemLock lock;
    LoginItem::Status login = LoginItem::Status::enabled;
    UpdaterState updates;

    Machine() {
        settings.daemonInstalled = true;
        settings.status.gateVerified = true;
        updates.automatic = true;
    }
    Checkup checkup() const { return Checkup(settings, state, lock, login, updates); }
};

struct ReadingCase {
    const char* what;
    void (*change)(Machine&);
    Piece piece;
    Level level;
    const char* word;
};

TEST(CheckupReading, EachPieceByItsFirstHoldingCondition) {
    const ReadingCase cases[] = {
        {"running", [](Machine&) {}, Piece::service, Level::ok, "Running"},
        {"write error beats approval",
         [](Machine& m) {
             m.settings.writeError = "refused";
             m.state = ServiceState::awaitingApproval;
         },
         Piece::service, Level::broken, "Can’t write"},
        {"not installed", [](Machine& m) { m.state = ServiceState::notInstalled; }, Piece::service,
         Level::todo, "Not installed"},
        {"not installed, locked",
         [](Machine& m) {
             m.state = ServiceState::notInstalled;
             m.lock.active = true;
         },
         Piece::service, Level::off, "Not installed"},
        {"approval", [](Machine& m) { m.state = ServiceState::awaitingApproval; }, Piece::service,
         Level::todo, "To allow"},
        {"migration", [](Machine& m) { m.state = ServiceState::needsMigration; }, Piece::service, Level::todo,
         "To update"},
        {"elsewhere in place", [](Machine& m) { m.state = ServiceState::elsewhereInApplications; },
         Piece::service, Level::off, "Taking it back"},
        {"elsewhere", [](Machine& m) { m.state = ServiceState::elsewhere; }, Piece::service, Level::todo,
         "To move"},
        {"outdated", [](Machine& m) { m.state = ServiceState::outdated; }, Piece::service, Level::todo,
         "To update"},
        {"stale", [](Machine& m) { m.state = ServiceState::stale; }, Piece::service, Level::broken,
         "Stopped"},
        {"unknown", [](Machine& m) { m.state = ServiceState::unknown; }, Piece::service, Level::off,
         "Starting"},

        {"verified", [](Machine&) {}, Piece::verified, Level::ok, "Verified"},
        {"locked beats verified", [](Machine& m) { m.lock.active = true; }, Piece::verified, Level::todo,
         "Not yet"},
        {"not verified yet", [](Machine& m) { m.settings.status.gateVerified.reset(); }, Piece::verified,
         Level::off, "Not yet"},
        {"not working", [](Machine& m) { m.settings.status.gateVerified = false; }, Piece::verified,
         Level::broken, "Not working"},

        {"login on", [](Machine&) {}, Piece::login, Level::ok, "On"},
        {"login to allow", [](Machine& m) { m.login = LoginItem::Status::requiresApproval; }, Piece::login,
         Level::todo, "To allow"},
        {"login off", [](Machine& m) { m.login = LoginItem::Status::notRegistered; }, Piece::login,
         Level::off, "Off"},
        {"login not found", [](Machine& m) { m.login = LoginItem::Status::notFound; }, Piece::login,
         Level::off, "Off"},

        {"light driven", [](Machine&) {}, Piece::led, Level::ok, "Driven"},
        {"light off", [](Machine& m) { m.settings.settings.led = false; }, Piece::led, Level::off,
         "By macOS"},
        {"light unsupported", [](Machine& m) { m.settings.status.ledSupported = false; }, Piece::led,
         Level::off, "By macOS"},

        {"recording", [](Machine&) {}, Piece::history, Level::ok, "Recording"},
        {"history off", [](Machine& m) { m.settings.settings.history = false; }, Piece::history, Level::off,
         "Off"},

        {"up to date", [](Machine&) {}, Piece::updates, Level::ok, "Up to date"},
        {"critical without a version", [](Machine& m) { m.updates.critical = true; }, Piece::updates,
         Level::todo, "Available"},
        {"available with checks off",
         [](Machine& m) {
             m.updates.available = "1.2";
             m.updates.automatic = false;
         },
         Piece::updates, Level::todo, "Available"},
        {"checks off", [](Machine& m) { m.updates.automatic = false; }, Piece::updates, Level::off, "Off"},
    };
    for (const auto& c : cases) {
        Machine machine;
        c.change(machine);
        EXPECT_EQ(machine.checkup().reading(c.piece), (Checkup::Reading{c.piece, c.level, c.word})) << c.what;
    }
}

struct RollUpCase {
    const char* what;
    void (*change)(Machine&);
    Level level;
    const char* summary;
    std::optional<Piece> firstProblem;
    std::optional<Checkup::Fix> fix;
};

TEST(CheckupRollUp, HeadlineFirstProblemAndFix) {
    const RollUpCase cases[] = {
        {"all fine", [](Machine&) {}, Level::ok, "All set", std::nullopt, std::nullopt},
        {"only deliberate offs",
         [](Machine& m) {
             m.settings.settings.history = false;
             m.settings.settings.led = false;
         },
         Level::off, "All set", std::nullopt, std::nullopt},
        {"a broken piece beats an earlier one to do",
         [](Machine& m) {
             m.state = ServiceState::stale;
             m.updates.available = "2.0";
         },
         Level::broken, "Something’s wrong", Piece::service, Checkup::Fix{"See what to do", Action::openMac}},
        {"a broken later piece beats an earlier one to do",
         [](Machine& m) {
             m.login = LoginItem::Status::requiresApproval;
             m.settings.status.gateVerified = false;
         },
         Level::broken, "Something’s wrong", Piece::verified,
         Checkup::Fix{"See what to do", Action::openMac}},
        {"nothing to install while locked",
         [](Machine& m) {
             m.state = ServiceState::notInstalled;
             m.lock.active = true;
         },
         Level::todo, "One thing to do", Piece::verified, Checkup::Fix{"See what to do", Action::openMac}},
        {"login before updates",
         [](Machine& m) {
             m.login = LoginItem::Status::requiresApproval;
             m.updates.available = "2.0";
         },
         Level::todo, "Two things to do", Piece::login,
         Checkup::Fix{"Open Login Items", Action::openLoginItems}},
        {"three to do",
         [](Machine& m) {
             m.state = ServiceState::outdated;
             m.login = LoginItem::Status::requiresApproval;
             m.updates.critical = true;
         },
         Level::todo, "Three things to do", Piece::service, Checkup::Fix{"See what to do", Action::openMac}},
        {"approval fix only without a write error",
         [](Machine& m) {
             m.state = ServiceState::awaitingApproval;
             m.settings.writeError = "refused";
         },
         Level::broken, "Something’s wrong", Piece::service, Checkup::Fix{"See what to do", Action::openMac}},
        {"approval", [](Machine& m) { m.state = ServiceState::awaitingApproval; }, Level::todo,
         "One thing to do", Piece::service, Checkup::Fix{"Open Login Items", Action::approveService}},
        {"install", [](Machine& m) { m.state = ServiceState::notInstalled; }, Level::todo, "One thing to do",
         Piece::service, Checkup::Fix{"Install the service", Action::installService}},
        {"update", [](Machine& m) { m.updates.available = "2.0"; }, Level::todo, "One thing to do",
         Piece::updates, Checkup::Fix{"Update Torvel", Action::checkForUpdates}},
    };
    for (const auto& c : cases) {
        Machine machine;
        c.change(machine);
        const Checkup checkup = machine.checkup();
        EXPECT_EQ(checkup.level(), c.level) << c.what;
        EXPECT_EQ(checkup.summary(), c.summary) << c.what;
        EXPECT_EQ(checkup.firstProblem(), c.firstProblem) << c.what;
        EXPECT_EQ(checkup.fix(), c.fix) << c.what;
    }
}

TEST(CheckupRollUp, ReadingsFollowThePieceOrder) {
    const auto readings = Machine().checkup().readings();
    for (std::size_t i = 0; i < readings.size(); ++i) EXPECT_EQ(readings[i].piece, Checkup::pieces[i]);
}

}  // namespace
}  // namespace torvel
