#include "status/checkup.h"

#include <gtest/gtest.h>

// Each row names only what differs from a machine where everything is fine.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

using Level = Checkup::Level;
using Piece = Checkup::Piece;
using Login = LoginItem::Status;
using State = ServiceState;
using Fix = Checkup::Fix;

struct Machine {
    State state = State::running;
    bool writeError = false;
    bool locked = false;
    std::optional<bool> gate = true;
    Login login = Login::enabled;
    bool led = true;
    bool ledSupported = true;
    bool published = true;
    bool history = true;
    bool automatic = true;
    const char* available = nullptr;
    bool critical = false;
    bool unreachable = false;
    const char* chargeError = nullptr;
    std::optional<int> nativeLimit;
    std::optional<OtherWriter::Program> other;

    Checkup checkup() const {
        ChargeSettingsState s;
        if (writeError) s.writeError = "refused";
        s.status.published.gateVerified = gate;
        s.status.published.ledSupported = ledSupported;
        if (published) s.status.published.ts = 1;
        s.settings.led = led;
        s.settings.history = history;
        if (chargeError) s.status.published.chargeError = chargeError;
        s.status.published.nativeLimit = nativeLimit;
        if (other) s.status.published.otherWriter = OtherWriter{.program = *other};
        UpdaterState updates{.critical = critical, .unreachable = unreachable, .automatic = automatic};
        if (available) updates.available = available;
        return Checkup(s, state, SystemLock{.active = locked}, login, updates);
    }
};

TEST(CheckupReading, FirstHoldingConditionPerPiece) {
    struct Case {
        Machine machine;
        Piece piece;
        Level level;
        const char* word;
    };
    // clang-format off
    const Case cases[] = {
        {{.state = State::awaitingApproval, .writeError = true}, Piece::service, Level::broken, "Can’t write"},
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
        {{.chargeError = "EIO", .other = OtherWriter::Program::tlp}, Piece::control, Level::broken, "Refused"},
        {{.nativeLimit = 80, .other = OtherWriter::Program::upower}, Piece::control, Level::todo, "UPower too"},
        {{.other = OtherWriter::Program::unknown}, Piece::control, Level::todo, "Contested"},
        {{.nativeLimit = 80}, Piece::control, Level::ok, "80%"},
        {{}, Piece::control, Level::ok, "As asked"},
        {{.published = false}, Piece::control, Level::off, "Not yet"},
        {{.login = Login::requiresApproval}, Piece::login, Level::todo, "To allow"},
        {{}, Piece::login, Level::ok, "On"},
        {{.login = Login::notFound}, Piece::login, Level::off, "Off"},
        {{.led = false}, Piece::led, Level::off, "By macOS"},
        {{.ledSupported = false}, Piece::led, Level::off, "By macOS"},
        {{}, Piece::led, Level::ok, "Driven"},
        {{.published = false}, Piece::led, Level::off, "Not yet"},
        {{}, Piece::history, Level::ok, "Recording"},
        {{.history = false}, Piece::history, Level::off, "Off"},
        {{.critical = true}, Piece::updates, Level::todo, "Available"},
        {{.automatic = false, .available = "2.0"}, Piece::updates, Level::todo, "Available"},
        {{.automatic = false, .unreachable = true}, Piece::updates, Level::todo, "Couldn’t check"},
        {{}, Piece::updates, Level::ok, "Up to date"},
        {{.automatic = false}, Piece::updates, Level::off, "Off"},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(c.machine.checkup().reading(c.piece), (Checkup::Reading{c.piece, c.level, c.word}))
            << name(c.piece) << ": " << c.word;
    }
}

TEST(CheckupRollUp, HeadlineFirstProblemAndFix) {
    const Fix seeWhat{"See what to do", Fix::Action::openMac};
    const Fix loginItems{"Open Login Items", Fix::Action::openLoginItems};
    const Fix approve{"Open Login Items", Fix::Action::approveService};
    const Fix install{"Install the service", Fix::Action::installService};
    const Fix update{"Update Torvel", Fix::Action::checkForUpdates};
    struct Case {
        Machine machine;
        const char* summary;
        std::optional<Piece> firstProblem;
        std::optional<Fix> fix;
    };
    // clang-format off
    const Case cases[] = {
        {{}, "All set", std::nullopt, std::nullopt},
        {{.led = false, .history = false}, "All set", std::nullopt, std::nullopt},
        // A broken piece wins over an earlier one to do, and stale has no fix of its own.
        {{.state = State::notInstalled, .gate = false}, "Something’s wrong", Piece::verified, seeWhat},
        {{.state = State::stale, .available = "2.0"}, "Something’s wrong", Piece::service, seeWhat},
        {{.state = State::notInstalled, .locked = true}, "One thing to do", Piece::verified, seeWhat},
        {{.login = Login::requiresApproval, .available = "2.0"}, "Two things to do", Piece::login, loginItems},
        {{.state = State::awaitingApproval, .writeError = true}, "Something’s wrong", Piece::service, seeWhat},
        {{.state = State::awaitingApproval}, "One thing to do", Piece::service, approve},
        {{.state = State::notInstalled}, "One thing to do", Piece::service, install},
        {{.available = "2.0"}, "One thing to do", Piece::updates, update},
        {{.other = OtherWriter::Program::kde}, "One thing to do", Piece::control, seeWhat},
    };
    // clang-format on
    for (const auto& c : cases) {
        const Checkup checkup = c.machine.checkup();
        EXPECT_EQ(checkup.summary(), c.summary);
        EXPECT_EQ(checkup.firstProblem(), c.firstProblem) << c.summary;
        EXPECT_EQ(checkup.fix(), c.fix) << c.summary << " / " << (c.fix ? c.fix->title : "no fix");
    }
}

}  // namespace
}  // namespace torvel
