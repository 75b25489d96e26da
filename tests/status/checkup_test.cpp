#include "status/checkup.h"

#include <gtest/gtest.h>

// Each row names only what differs from a machine where everything is fine.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {

void PrintTo(const Checkup::Fix& fix, std::ostream* os) {
    *os << '"' << fix.title << '"';
}
void PrintTo(Checkup::Level level, std::ostream* os) {
    *os << name(level);
}

namespace {

using Level = Checkup::Level;
using Piece = Checkup::Piece;
using Login = LoginItem::Status;
using State = ServiceState;
using Action = Checkup::Fix::Action;

// One machine per row; the defaults read ok on every piece.
struct Machine {
    State state = State::running;
    bool writeError = false;
    bool locked = false;
    std::optional<bool> gate = true;
    Login login = Login::enabled;
    bool led = true;
    bool ledSupported = true;
    bool history = true;
    bool automatic = true;
    const char* available = nullptr;
    bool critical = false;

    Checkup checkup() const {
        ChargeSettingsState s;
        if (writeError) s.writeError = "refused";
        s.status.gateVerified = gate;
        s.settings.led = led;
        s.status.ledSupported = ledSupported;
        s.settings.history = history;
        SystemLock lock;
        lock.active = locked;
        UpdaterState updates;
        updates.automatic = automatic;
        if (available) updates.available = available;
        updates.critical = critical;
        return Checkup(s, state, lock, login, updates);
    }
};

struct ReadingCase {
    Machine machine;
    Piece piece;
    Level level;
    const char* word;
};

TEST(CheckupReading, FirstHoldingConditionPerPiece) {
    const ReadingCase cases[] = {
        {{.state = State::awaitingApproval, .writeError = true},
         Piece::service,
         Level::broken,
         "Can’t write"},
        {{.state = State::notInstalled, .locked = true}, Piece::service, Level::off, "Not installed"},
        {{.state = State::notInstalled}, Piece::service, Level::todo, "Not installed"},
        {{.state = State::awaitingApproval}, Piece::service, Level::todo, "To allow"},
        {{.state = State::needsMigration}, Piece::service, Level::todo, "To update"},
        {{.state = State::elsewhereInApplications}, Piece::service, Level::off, "Taking it back"},
        {{.state = State::elsewhere}, Piece::service, Level::todo, "To move"},
        {{.state = State::outdated}, Piece::service, Level::todo, "To update"},
        {{.state = State::stale}, Piece::service, Level::broken, "Stopped"},
        {{.state = State::unknown}, Piece::service, Level::off, "Starting"},
        {{}, Piece::service, Level::ok, "Running"},
        {{.locked = true}, Piece::verified, Level::todo, "Not yet"},
        {{.gate = std::nullopt}, Piece::verified, Level::off, "Not yet"},
        {{}, Piece::verified, Level::ok, "Verified"},
        {{.gate = false}, Piece::verified, Level::broken, "Not working"},
        {{.login = Login::requiresApproval}, Piece::login, Level::todo, "To allow"},
        {{}, Piece::login, Level::ok, "On"},
        {{.login = Login::notFound}, Piece::login, Level::off, "Off"},
        {{.led = false}, Piece::led, Level::off, "By macOS"},
        {{.ledSupported = false}, Piece::led, Level::off, "By macOS"},
        {{}, Piece::led, Level::ok, "Driven"},
        {{.history = false}, Piece::history, Level::off, "Off"},
        {{.critical = true}, Piece::updates, Level::todo, "Available"},
        {{.automatic = false, .available = "2.0"}, Piece::updates, Level::todo, "Available"},
        {{}, Piece::updates, Level::ok, "Up to date"},
        {{.automatic = false}, Piece::updates, Level::off, "Off"},
    };
    for (const auto& c : cases) {
        const auto reading = c.machine.checkup().reading(c.piece);
        EXPECT_EQ(reading.level, c.level) << c.word;
        EXPECT_EQ(reading.word, c.word);
    }
}

struct RollUpCase {
    Machine machine;
    const char* summary;
    std::optional<Piece> firstProblem;
    std::optional<Checkup::Fix> fix;
};

TEST(CheckupRollUp, HeadlineFirstProblemAndFix) {
    const Checkup::Fix seeWhat{"See what to do", Action::openMac};
    const RollUpCase cases[] = {
        {{}, "All set", std::nullopt, std::nullopt},
        {{.led = false, .history = false}, "All set", std::nullopt, std::nullopt},
        // A broken piece wins over an earlier one to do, and stale has no fix of its own.
        {{.state = State::stale, .available = "2.0"}, "Something’s wrong", Piece::service, seeWhat},
        {{.gate = false, .login = Login::requiresApproval}, "Something’s wrong", Piece::verified, seeWhat},
        {{.state = State::notInstalled, .locked = true}, "One thing to do", Piece::verified, seeWhat},
        {{.login = Login::requiresApproval, .available = "2.0"},
         "Two things to do",
         Piece::login,
         Checkup::Fix{"Open Login Items", Action::openLoginItems}},
        {{.state = State::outdated, .login = Login::requiresApproval, .critical = true},
         "Three things to do",
         Piece::service,
         seeWhat},
        // The approval fix only without a write error.
        {{.state = State::awaitingApproval, .writeError = true},
         "Something’s wrong",
         Piece::service,
         seeWhat},
        {{.state = State::awaitingApproval},
         "One thing to do",
         Piece::service,
         Checkup::Fix{"Open Login Items", Action::approveService}},
        {{.state = State::notInstalled},
         "One thing to do",
         Piece::service,
         Checkup::Fix{"Install the service", Action::installService}},
        {{.available = "2.0"},
         "One thing to do",
         Piece::updates,
         Checkup::Fix{"Update Torvel", Action::checkForUpdates}},
    };
    for (const auto& c : cases) {
        const Checkup checkup = c.machine.checkup();
        EXPECT_EQ(checkup.summary(), c.summary);
        EXPECT_EQ(checkup.firstProblem(), c.firstProblem) << c.summary;
        EXPECT_EQ(checkup.fix(), c.fix) << c.summary;
    }
}

}  // namespace
}  // namespace torvel
