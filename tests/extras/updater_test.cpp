#include "extras/updater.h"

#include <gtest/gtest.h>

// Each state names only what differs from a fresh one.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace torvel {
namespace {

constexpr Instant march7 = 1741341600;  // 2025-03-07 11:00 in Paris

TEST(UpdaterCallbacks, CycleEndsCheckingAndTellsANormalEndFromAFailure) {
    const std::pair<std::optional<long>, bool> cases[] = {
        {std::nullopt, false}, {UpdaterState::noUpdateFoundCode, false}, {-1009, true}, {4, true}};
    for (const auto& [error, unreachable] : cases) {
        UpdaterState state{.checking = true, .unreachable = !unreachable, .automatic = true};
        state.cycleFinished(error, march7);
        EXPECT_FALSE(state.checking);
        EXPECT_EQ(state.lastCheck, march7);
        EXPECT_EQ(state.unreachable, unreachable) << error.value_or(0);
        // The date follows the language.
        EXPECT_EQ(UpdateWords::status(state, "fr"),
                  unreachable ? "Couldn’t check" : "Up to date, checked 7 mars 2025");
    }
}

TEST(UpdateWords, FirstMatchWins) {
    struct Case {
        const char* what;
        UpdaterState state;
        const char* status;
        const char* shortText;
    };
    // clang-format off
    const Case cases[] = {
        {"checking off beats a known update", {.available = "2.0", .critical = true}, "Checking is off", "Checking is off"},
        {"critical", {.available = "2.0", .critical = true, .automatic = true}, "This version should be replaced", "This version should be replaced"},
        {"available", {.available = "2.0", .unreachable = true, .automatic = true}, "Version 2.0 is available", "2.0 available"},
        {"unreachable", {.lastCheck = march7, .unreachable = true, .automatic = true}, "Couldn’t check", "Couldn’t check"},
        {"checked", {.lastCheck = march7, .automatic = true}, "Up to date, checked Mar 7, 2025", "Up to date"},
        {"never checked", {.automatic = true}, "Not checked yet", "Not checked yet"},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(UpdateWords::status(c.state, "en"), c.status) << c.what;
        EXPECT_EQ(UpdateWords::shortText(c.state), c.shortText) << c.what;
    }
}

TEST(UpdaterSettings, ReadsTheUpdatesGroup) {
    EXPECT_EQ(UpdaterState::fromSettings("[General]\nonboardingSeen=true\n\n[updates]\nautomatic=true\n"
                                         "lastCheck=1741341600\navailable=2.1\ncritical=false\n"),
              (UpdaterState{.available = "2.1", .lastCheck = march7, .automatic = true}));
}

}  // namespace
}  // namespace torvel
