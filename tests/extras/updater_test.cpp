#include "extras/updater.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

constexpr Instant march7 = 1741341600;  // 2025-03-07 11:00 in Paris

TEST(UpdaterCallbacks, CycleEndsCheckingAndTellsANormalEndFromAFailure) {
    struct Case {
        std::optional<long> error;
        bool unreachable;
    };
    const Case cases[] = {
        {std::nullopt, false}, {UpdaterState::noUpdateFoundCode, false}, {-1009, true}, {4, true}};
    for (const auto& c : cases) {
        UpdaterState state;
        state.checking = true;
        state.unreachable = !c.unreachable;
        state.cycleFinished(c.error, march7);
        EXPECT_FALSE(state.checking);
        EXPECT_EQ(state.lastCheck, march7);
        EXPECT_EQ(state.unreachable, c.unreachable) << c.error.value_or(0);
    }
}

TEST(UpdateWords, FirstMatchWins) {
    struct Case {
        const char* what;
        UpdaterState state;
        const char* status;
        const char* shortText;
    };
    const auto with = [](auto change) {
        UpdaterState s;
        s.automatic = true;
        change(s);
        return s;
    };
    const Case cases[] = {
        {"checking off beats a known update", with([](UpdaterState& s) {
             s.automatic = false;
             s.available = "2.0";
             s.critical = true;
         }),
         "Checking is off", "Checking is off"},
        {"critical", with([](UpdaterState& s) {
             s.critical = true;
             s.available = "2.0";
         }),
         "This version should be replaced", "This version should be replaced"},
        {"available", with([](UpdaterState& s) {
             s.available = "2.0";
             s.unreachable = true;
         }),
         "Version 2.0 is available", "2.0 available"},
        {"unreachable", with([](UpdaterState& s) {
             s.unreachable = true;
             s.lastCheck = march7;
         }),
         "Couldn’t check", "Couldn’t check"},
        {"checked", with([](UpdaterState& s) { s.lastCheck = march7; }), "Up to date, checked Mar 7, 2025",
         "Up to date"},
        {"never checked", with([](UpdaterState&) {}), "Not checked yet", "Not checked yet"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UpdateWords::status(c.state, "en"), c.status) << c.what;
        EXPECT_EQ(UpdateWords::shortText(c.state), c.shortText) << c.what;
    }
}

TEST(UpdateWords, NoUpdateFoundReadsUpToDateWithTheDate) {
    UpdaterState state;
    state.automatic = true;
    state.checking = true;
    state.cycleFinished(UpdaterState::noUpdateFoundCode, march7);
    EXPECT_EQ(UpdateWords::status(state, "en"), "Up to date, checked Mar 7, 2025");
    EXPECT_EQ(UpdateWords::status(state, "fr"), "Up to date, checked 7 mars 2025");
}

TEST(UpdaterSettings, ReadsTheUpdatesGroup) {
    const UpdaterState state = UpdaterState::fromSettings(
        "[General]\nonboardingSeen=true\n\n[updates]\nautomatic=true\nlastCheck=1741341600\navailable=2.1\n"
        "critical=false\n");
    UpdaterState expected;
    expected.automatic = true;
    expected.lastCheck = march7;
    expected.available = "2.1";
    EXPECT_EQ(state, expected);
}

}  // namespace
}  // namespace torvel
