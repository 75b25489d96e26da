#include "extras/updater.h"

#include <gtest/gtest.h>

#include "extras/package_updates.h"

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
        {"checking off, never checked", {}, "Checking is off", "Checking is off"},
        {"checking off, checked by hand", {.lastCheck = march7}, "Up to date, checked Mar 7, 2025", "Up to date"},
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

TEST(UpdateSource, OnlyAnInstalledPackageThatARepositoryKnowsIsUpdatedByThePackageManager) {
    constexpr const char* fromRepository = R"(torvel:
  Installed: 1.2.0-1
  Candidate: 1.3.0-1
  Version table:
     1.3.0-1 500
        500 https://apt.torvel.example bookworm/main amd64 Packages
 *** 1.2.0-1 100
        100 /var/lib/dpkg/status
)";
    // Installed from the repository, which now offers only the newer version: still its origin.
    constexpr const char* byHand = R"(torvel:
  Installed: 1.2.0-1
  Candidate: 1.2.0-1
  Version table:
 *** 1.2.0-1 100
        100 /var/lib/dpkg/status
)";
    constexpr const char* removedButKnown = R"(torvel:
  Installed: (none)
  Candidate: 1.3.0-1
  Version table:
     1.3.0-1 500
        500 https://apt.torvel.example bookworm/main amd64 Packages
)";
    const std::pair<const char*, bool> cases[] = {{fromRepository, true},
                                                  {byHand, false},
                                                  {removedButKnown, false},
                                                  {"N: Unable to locate package torvel\n", false}};
    for (const auto& [policy, expected] : cases)
        EXPECT_EQ(PackageUpdates::fromRepository(policy), expected) << policy;

    EXPECT_EQ(PackageUpdates::source(false, true), UpdateSource::vendorFeed);
    EXPECT_EQ(PackageUpdates::source(true, false), UpdateSource::repository);
    EXPECT_EQ(PackageUpdates::source(false, false), UpdateSource::none);
}

TEST(PackageUpdates, PicksTheNewestOfTorvelsOwnIds) {
    const std::vector<std::string> ids = {"torvel-extra;9.0;all;x", "torvel;1.10.0-1;amd64;x", "broken",
                                          "torvel;1.9.0-1;amd64;x", "libc6;2.36;amd64;x"};
    EXPECT_EQ(PackageUpdates::newestOfOurs(ids), "torvel;1.10.0-1;amd64;x");
    EXPECT_EQ(PackageUpdates::newestOfOurs(std::span(ids).last(1)), std::nullopt);
    EXPECT_EQ(PackageUpdates::displayVersion("1:1.10.0-2"), "1.10.0");
}

}  // namespace
}  // namespace torvel
