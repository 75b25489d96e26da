#include "onboarding/flow.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using Kind = OnboardingFlow::Step::Kind;
using Step = OnboardingFlow::Step;
using Mode = OnboardingFlow::Mode;

const OnboardingFlow::Capability probed{true, false};
const Mode reviewing{true, false, false};
const Mode approvalOnly{false, true, false};
const Mode migrationOnly{false, false, true};

// A flow standing at `kind`, reached the way a user would reach it on a machine without the system limit; a
// review finds the service already there.
OnboardingFlow at(Kind kind, Mode mode = {}) {
    OnboardingFlow flow(mode);
    if (kind == Kind::checking) return flow;
    if (kind == Kind::probeFailed) {
        flow.probed(HardwareProbe::Failed{"x"});
        return flow;
    }
    flow.probed(HardwareProbe::Supported{"sysfs", "inhibit", false});
    if (kind == Kind::welcome) return flow;
    const bool ready = kind == Kind::handOver || kind == Kind::tuning || kind == Kind::done || mode.review;
    flow.next(ready, false);
    if (kind == Kind::installFailed) {
        ChargeSettingsState failed;
        failed.serviceError = "x";
        flow.installed(failed, false);
    }
    if (kind == Kind::awaitingApproval) flow.installed(ChargeSettingsState{}, false);
    while (flow.step().kind != kind) flow.next(true, false);
    return flow;
}

enum class Move { next, back, tick };

TEST(OnboardingFlow, Moves) {
    struct Case {
        const char* what;
        Move move;
        Kind from;
        Mode mode;
        bool ready, usesNative;
        Kind to;
    };
    using enum Move;
    // clang-format off
    const Case cases[] = {
        {"welcome, service ready", next, Kind::welcome, {}, true, false, Kind::handOver},
        {"welcome, ready, system limit", next, Kind::welcome, {}, true, true, Kind::tuning},
        {"welcome, nothing installed", next, Kind::welcome, {}, false, false, Kind::service},
        {"welcome, reviewing a ready service", next, Kind::welcome, reviewing, true, false, Kind::service},
        {"service", next, Kind::service, {}, false, false, Kind::handOver},
        {"service, system limit", next, Kind::service, {}, false, true, Kind::tuning},
        {"install failed", next, Kind::installFailed, {}, false, false, Kind::handOver},
        {"awaiting approval", next, Kind::awaitingApproval, {}, false, true, Kind::tuning},
        {"hand-over", next, Kind::handOver, {}, true, false, Kind::tuning},
        {"tuning", next, Kind::tuning, {}, true, false, Kind::done},
        {"back from service", back, Kind::service, {}, false, false, Kind::welcome},
        {"back from install failed", back, Kind::installFailed, {}, false, false, Kind::welcome},
        {"back from awaiting approval", back, Kind::awaitingApproval, {}, false, false, Kind::welcome},
        {"back from hand-over, ready", back, Kind::handOver, {}, true, false, Kind::welcome},
        {"back from hand-over, service gone", back, Kind::handOver, {}, false, false, Kind::service},
        {"back from hand-over, reviewing", back, Kind::handOver, reviewing, true, false, Kind::service},
        {"back from tuning", back, Kind::tuning, {}, true, false, Kind::handOver},
        {"back from tuning, system limit skips the hand-over", back, Kind::tuning, {}, true, true, Kind::welcome},
        {"back from tuning, system limit, not ready", back, Kind::tuning, {}, false, true, Kind::service},
        {"poll, not ready yet", tick, Kind::service, {}, false, false, Kind::service},
        {"poll, ready", tick, Kind::service, {}, true, false, Kind::handOver},
        {"poll, ready, system limit", tick, Kind::service, {}, true, true, Kind::tuning},
        {"poll, ready on entry: the user moves on", tick, Kind::service, reviewing, true, false, Kind::service},
        {"poll, approval only", tick, Kind::service, approvalOnly, true, false, Kind::done},
        {"poll, migration only", tick, Kind::service, migrationOnly, true, true, Kind::done},
    };
    // clang-format on
    for (const auto& c : cases) {
        OnboardingFlow flow = at(c.from, c.mode);
        // Next tells when the flow is finished, a poll tick whether it moved.
        bool answer = false;
        if (c.move == next) answer = flow.next(c.ready, c.usesNative);
        if (c.move == back) flow.back(c.ready, c.usesNative);
        if (c.move == tick) answer = flow.tick(c.ready, c.usesNative);
        EXPECT_EQ(answer, c.move == next ? c.to == Kind::done : c.move == tick && c.to != c.from) << c.what;
        EXPECT_EQ(flow.step(), c.to == Kind::welcome ? Step::welcome(probed) : Step::plain(c.to)) << c.what;
        EXPECT_EQ(flow.polls(), c.to == Kind::service) << c.what;
    }
}

TEST(OnboardingFlow, ProgressAndGoingBackByStep) {
    struct Case {
        Step step;
        std::optional<int> progress, progressNative;
        bool canGoBack;
    };
    const Case cases[] = {
        {Step::plain(Kind::checking), std::nullopt, std::nullopt, false},
        {Step::welcome(probed), 0, 0, false},
        {Step::installFailed("x"), 1, 1, true},
        {Step::plain(Kind::service), 1, 1, true},
        {Step::plain(Kind::awaitingApproval), 1, 1, true},
        {Step::plain(Kind::handOver), 2, 2, true},
        {Step::plain(Kind::tuning), 3, 2, true},
        {Step::plain(Kind::done), std::nullopt, std::nullopt, false},
        {Step::probeFailed("x"), std::nullopt, std::nullopt, false},
    };
    for (const auto& c : cases) {
        for (const Mode mode : {Mode{}, approvalOnly, migrationOnly}) {
            const OnboardingFlow flow = at(c.step.kind, mode);
            ASSERT_EQ(flow.step(), c.step);
            const bool shortFlow = mode != Mode{};
            EXPECT_EQ(flow.progress(false), shortFlow ? std::nullopt : c.progress) << name(c.step.kind);
            EXPECT_EQ(flow.progress(true), shortFlow ? std::nullopt : c.progressNative) << name(c.step.kind);
            EXPECT_EQ(flow.canGoBack(), !shortFlow && c.canGoBack) << name(c.step.kind);
        }
    }
}

TEST(OnboardingFlow, InstallOutcome) {
    struct Case {
        std::optional<std::string> error;
        bool daemonInstalled, usesNative;
        Step step;
    };
    const Case cases[] = {
        {"refused", true, false, Step::installFailed("refused")},
        {std::nullopt, true, false, Step::plain(Kind::handOver)},
        {std::nullopt, true, true, Step::plain(Kind::tuning)},
        {std::nullopt, false, false, Step::plain(Kind::awaitingApproval)},
    };
    for (const auto& c : cases) {
        OnboardingFlow flow = at(Kind::service);
        ChargeSettingsState settings;
        settings.serviceError = c.error;
        settings.daemonInstalled = c.daemonInstalled;
        flow.installed(settings, c.usesNative);
        EXPECT_EQ(flow.step(), c.step) << name(c.step.kind);
    }
}

TEST(OnboardingFlow, WithoutTheServiceTheLaterScreensSaySoAndTheRailLeavesItOpen) {
    using enum RailStop;
    struct Case {
        const char* what;
        Kind at;
        bool usesNative, ready;
        std::vector<RailStop> rail;
    };
    const Case cases[] = {
        {"welcome", Kind::welcome, false, false, {here, ahead, ahead, ahead}},
        {"installed, hand-over", Kind::handOver, false, true, {passed, passed, here, ahead}},
        {"skipped, hand-over", Kind::handOver, false, false, {passed, toDo, here, ahead}},
        {"skipped, profile, system limit", Kind::tuning, true, false, {passed, toDo, here}},
        {"finished", Kind::done, false, false, {ahead, ahead, ahead, ahead}},
    };
    for (const auto& c : cases) {
        const OnboardingFlow flow = at(c.at);
        EXPECT_EQ(railStops(flow.progress(c.usesNative), c.usesNative, c.ready), c.rail) << c.what;
    }

    const auto held = onboardingWords({}, true, 80, 60);
    const auto missing = onboardingWords({}, false, 80, 60);
    EXPECT_TRUE(held.handOverRows.front().ticked);
    EXPECT_FALSE(missing.handOverRows.front().ticked) << "no tick on a limit nothing holds";
    EXPECT_EQ(held.restingTitle, "Charging stops at 80% and starts again below 60%.");
    EXPECT_EQ(missing.restingTitle,
              "Once the service runs, charging stops at 80% and starts again below 60%.");
    EXPECT_NE(missing.doneSubtitle.find("isn’t installed yet"), std::string::npos);
    EXPECT_EQ(onboardingWords(approvalOnly, true, 80, 60).doneSubtitle,
              "The charge service is allowed and running again.");

    // The service screen's words follow the replacement first, then the service being there.
    const auto screen = [](OnboardingScreenFacts facts) { return onboardingScreenWords(facts); };
    EXPECT_EQ(screen({.ready = true, .replacing = true})["serviceTitle"], "Replace the older service");
    EXPECT_EQ(screen({.ready = true, .replacing = true, .busy = true})["servicePrimary"], "Replacing…");
    EXPECT_EQ(screen({.ready = true})["serviceSecondary"], "") << "nothing to skip once installed";
    EXPECT_EQ(screen({.daemonSize = "1.2 MB"})["supportsFootnote"],
              "Holding a limit takes a small system service, 1.2 MB. The next screen installs it.");
    EXPECT_EQ(screen({.progress = 2, .usesNative = true})["railStep"], "Step 3 of 3: Profile");

    struct Failure {
        std::string_view detail, sentenceBegins;
    };
    const Failure failures[] = {
        {"Failed to connect to bus: Host is down", "Torvel couldn’t reach the system’s service manager"},
        {"cannot run pkexec: No such file or directory",
         "Torvel couldn’t ask for an administrator’s password"},
        {"Torvel wasn’t allowed to change the charge service.", "The system didn’t allow the install"},
        {"install-service: no executable at /x", "The install stopped before it finished"},
    };
    for (const auto& f : failures)
        EXPECT_TRUE(installFailureSentence(f.detail).starts_with(f.sentenceBegins)) << f.detail;
}

TEST(OnboardingFlow, PollingFollowsTheStep) {
    using Change = OnboardingFlow::PollingChange;
    const OnboardingFlow waiting = at(Kind::service);
    const OnboardingFlow tuning = at(Kind::tuning);
    EXPECT_EQ(waiting.syncPolling(false, false), (Change{true, true, false}));
    EXPECT_EQ(waiting.syncPolling(false, true), (Change{false, true, false}));
    EXPECT_EQ(waiting.syncPolling(true, true), Change{});
    EXPECT_EQ(tuning.syncPolling(true, true), (Change{false, false, true}));
    EXPECT_EQ(tuning.syncPolling(false, true), Change{});
}

TEST(OnboardingFlow, TheCommandToCopy) {
    const InstallationFacts installation{.ownDaemonPath = "/usr/libexec/torvel/torvel-daemon",
                                         .ownCopyInApplications = true,
                                         .appVersion = "0.1.0",
                                         .uninstallerPath = "/usr/libexec/torvel/uninstall-service"};
    const std::string onPath = OnboardingFlow::installCommand(std::nullopt);
    const std::string built = OnboardingFlow::installCommand("/home/a b/build/cli/torvelctl");
    EXPECT_EQ(onPath, "torvelctl install");
    EXPECT_EQ(built, "\"/home/a b/build/cli/torvelctl\" install");

    ChargeSettingsState settings;
    EXPECT_EQ(OnboardingFlow::commandToCopy(settings, installation, built), built);
    settings.serviceNeedsMigration = true;
    EXPECT_EQ(OnboardingFlow::commandToCopy(settings, installation, built),
              *migrationCommand(installation.uninstallerPath));
}

TEST(OnboardingProfiles, RestingFloorAndApply) {
    // limit, band, usesNative, floor
    const std::tuple<int, int, bool, int> floors[] = {
        {80, 20, false, 60}, {30, 20, false, 20}, {80, 20, true, 75}, {22, 20, true, 20}};
    for (const auto& [limit, band, usesNative, floor] : floors) {
        Settings settings;
        settings.limit = limit;
        settings.hysteresis = band;
        EXPECT_EQ(OnboardingFlow::restingFloor(settings, usesNative), floor) << limit << "/" << band;
    }

    const auto& travel = OnboardingFlow::profiles[2];
    Settings settings;
    settings.discharge = true;
    Settings applied = OnboardingFlow::apply(travel, settings, false);
    EXPECT_EQ(std::tuple(applied.limit, applied.hysteresis, applied.discharge), std::tuple(90, 20, true));
    EXPECT_FALSE(OnboardingFlow::apply(travel, settings, true).discharge);
    EXPECT_TRUE(travel.matches(applied));
    applied.hysteresis = 5;
    EXPECT_FALSE(travel.matches(applied));
}

TEST(OnboardingWindowSync, SelfOpeningFlows) {
    struct Case {
        bool flag, seen, dismissed, visible, opens;
    };
    const Case cases[] = {
        {true, true, false, false, true},   {false, true, false, false, false},
        {true, false, false, false, false}, {true, true, true, false, false},
        {true, true, false, true, false},
    };
    for (const auto& c : cases) {
        const OnboardingWindowSync sync{c.dismissed, c.dismissed};
        EXPECT_EQ(sync.syncApproval(c.flag, c.seen, c.visible),
                  c.opens ? std::optional(approvalOnly) : std::nullopt);
        // The migration flow does not wait for the first run to be complete.
        const bool migrates = c.flag && !c.dismissed && !c.visible;
        EXPECT_EQ(sync.syncMigration(c.flag, c.visible),
                  migrates ? std::optional(migrationOnly) : std::nullopt);
    }
}

}  // namespace
}  // namespace torvel
