#include "status/mac_page.h"

#include <gtest/gtest.h>

// Each row names only what differs from a machine where everything is fine.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

using Login = LoginItem::Status;
using State = ServiceState;
using Action = MacPage::Fix::Action;

struct Machine {
    State state = State::running;
    bool writeError = false;
    const char* serviceError = nullptr;
    bool locked = false;
    std::optional<bool> gate = true;
    Login login = Login::enabled;
    const char* available = nullptr;
    bool migrating = false;
    bool fallback = false;

    ChargeSettingsState settings() const {
        ChargeSettingsState s;
        if (writeError) s.writeError = "refused";
        if (serviceError) s.serviceError = serviceError;
        s.status.published.gateVerified = gate;
        s.migrating = migrating;
        s.migrationFallback = fallback;
        s.settings.limit = 75;
        return s;
    }
    SystemLock lock() const { return SystemLock{.macOSMajor = 26, .active = locked}; }
    Checkup checkup() const {
        UpdaterState updates{.automatic = true};
        if (available) updates.available = available;
        return Checkup(settings(), state, lock(), login, updates);
    }
    MacPage::Facts facts() const {
        return MacPage::Facts::from(settings(), state, lock(), login, false, {.days = 3, .bytes = 1'200'000},
                                    1000);
    }
};

TEST(MacPage, HeadAndFixFollowTheFirstProblem) {
    struct Case {
        Machine machine;
        const char* headline;
        const char* subline;  // its beginning
        std::optional<MacPage::Fix> fix;
    };
    const MacPage::Fix install{"Install the service", Action::installService};
    // clang-format off
    const Case cases[] = {
        {{}, "Yes, everything’s in place.", "Torvel is protecting your battery", std::nullopt},
        {{.state = State::notInstalled}, "Almost. One thing to do.", "Without its charge service", install},
        {{.state = State::notInstalled, .locked = true}, "Almost. One thing to do.", "Without its charge service",
         std::nullopt},
        {{.state = State::running, .locked = true}, "Almost. One thing to do.",
         "Torvel can’t hold your limit on macOS 26 yet.", std::nullopt},
        {{.login = Login::requiresApproval, .available = "1.2"}, "Almost. Two things to do.",
         "macOS is waiting for your OK to open Torvel at startup.", std::nullopt},
        {{.state = State::outdated, .login = Login::requiresApproval, .available = "1.2"},
         "Almost. Three things to do.", "The charge service didn’t follow",
         MacPage::Fix{"Update the service", Action::updateService}},
        {{.state = State::stale, .available = "1.2"}, "Something’s wrong.", "The charge service stopped answering.",
         MacPage::Fix{"Reinstall the service", Action::reinstallService}},
        {{.state = State::awaitingApproval, .writeError = true}, "Something’s wrong.",
         "Torvel can’t pass your settings", MacPage::Fix{"Open Login Items", Action::openLoginItems}},
        {{.state = State::needsMigration}, "Almost. One thing to do.", "The old hand-installed service",
         MacPage::Fix{"Replace the service…", Action::replaceService}},
        {{.state = State::needsMigration, .migrating = true}, "Almost. One thing to do.", "The old",
         MacPage::Fix{"Replacing…", Action::replaceService, true}},
        {{.state = State::needsMigration, .migrating = true, .fallback = true}, "Almost. One thing to do.",
         "The old", MacPage::Fix{"Open Terminal", Action::openTerminal}},
        {{.state = State::unknown, .gate = false}, "Something’s wrong.", "Charging goes on past your limit.",
         std::nullopt},
        {{.state = State::elsewhere, .serviceError = "Access denied"}, "Almost. One thing to do.",
         "Torvel has to be in your Applications folder",
         MacPage::Fix{"Copy the diagnostic report", Action::copyReport}},
        {{.available = "1.2"}, "Almost. One thing to do.", "A new version of Torvel is ready.", std::nullopt},
    };
    // clang-format on
    for (const auto& c : cases) {
        const Checkup checkup = c.machine.checkup();
        const MacPage::Facts facts = c.machine.facts();
        const std::string subline = MacPage::subline(checkup, facts);
        EXPECT_EQ(MacPage::headline(checkup), c.headline) << subline;
        EXPECT_TRUE(subline.starts_with(c.subline)) << subline;
        EXPECT_EQ(MacPage::serviceFix(facts), c.fix) << subline;
    }
}

TEST(MacPage, RowExplanationsSayWhatTheReadingMeans) {
    struct Case {
        Machine machine;
        Checkup::Piece piece;
        const char* explanation;  // its beginning
    };
    using Piece = Checkup::Piece;
    const Case cases[] = {
        {{}, Piece::service, "Running for 0h 16 min"},
        {{.locked = true}, Piece::service, "macOS 26 changed the way charging is controlled"},
        {{}, Piece::verified, "Charging really stops at 75%."},
        {{.gate = false}, Piece::verified, "Torvel asked the controller to stop charging"},
        {{.gate = std::nullopt}, Piece::verified, "It gets checked the first time"},
        {{.login = Login::requiresApproval},
         Piece::login,
         "macOS needs your OK in System Settings ▸ Login Items."},
        {{}, Piece::history, "3 days recorded, 1.2 MB. It never leaves this Mac"},
    };
    for (const auto& c : cases) {
        MacPage::Facts facts = c.machine.facts();
        facts.daemonStartedAt = 20;
        const std::string text = MacPage::explanation(c.piece, facts);
        EXPECT_TRUE(text.starts_with(c.explanation)) << text;
    }
    EXPECT_EQ(
        MacPage::explanation(Piece::history, MacPage::Facts{}),
        "Nothing recorded yet. It never leaves this Mac, and it feeds the journal and the long memory.");
    EXPECT_EQ(MacPage::runningTime(std::nullopt, 5), "Not running");
}

TEST(MacPage, EachBatteryInItsBaySaysHowItIsHeld) {
    PublishedStatus status;
    status.batteries = {
        {"BAT0", 62, "Charging", "thresholds+behaviour", 75, 80, "auto", std::nullopt},
        {"BAT1", 90, std::nullopt, "behaviour", std::nullopt, std::nullopt, "inhibit-charge-awake",
         std::nullopt},
        {"BAT2", std::nullopt, std::nullopt, "thresholds", 0, 100, std::nullopt, "cannot write: I/O error"},
        {"BAT3", 40, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt},
    };
    EXPECT_EQ(MacPage::batteryLines(status),
              (std::vector<MacPage::InfoLine>{
                  {"Battery BAT0", "62%, held by its charge thresholds at 75% to 80%."},
                  {"Battery BAT1", "90%, held by pausing its charging (now inhibit-charge-awake)."},
                  {"Battery BAT2", "Charge unknown. The last change didn’t take: cannot write: I/O error."},
                  {"Battery BAT3", "40%, not held: its driver offers no way to stop charging."},
              }));
}

}  // namespace
}  // namespace torvel
