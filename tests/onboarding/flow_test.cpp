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

// A flow standing at `kind`, reached the way a user would reach it on a machine without the system limit.
OnboardingFlow at(Kind kind, Mode mode = {}) {
    OnboardingFlow flow(mode);
    if (kind == Kind::checking) return flow;
    if (kind == Kind::probeFailed) {
        flow.probed(HardwareProbe::Failed{"x"});
        return flow;
    }
    flow.probed(HardwareProbe::Supported{"sysfs", "inhibit", false});
    if (kind == Kind::welcome) return flow;
    const bool ready = kind == Kind::handOver || kind == Kind::tuning || kind == Kind::done;
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

struct MoveCase {
    const char* what;
    Kind from;
    Mode mode;
    bool ready;
    bool usesNative;
    Kind to;
    bool installedOnEntry;  // after the move, for moves into `service`
};

TEST(OnboardingFlow, Next) {
    const MoveCase cases[] = {
        {"welcome, service ready", Kind::welcome, {}, true, false, Kind::handOver, false},
        {"welcome, ready, system limit", Kind::welcome, {}, true, true, Kind::tuning, false},
        {"welcome, nothing installed", Kind::welcome, {}, false, false, Kind::service, false},
        {"welcome, reviewing a ready service", Kind::welcome, reviewing, true, false, Kind::service, true},
        {"service", Kind::service, {}, false, false, Kind::handOver, false},
        {"service, system limit", Kind::service, {}, false, true, Kind::tuning, false},
        {"install failed", Kind::installFailed, {}, false, false, Kind::handOver, false},
        {"awaiting approval", Kind::awaitingApproval, {}, false, true, Kind::tuning, false},
        {"hand-over", Kind::handOver, {}, true, false, Kind::tuning, false},
        {"tuning", Kind::tuning, {}, true, false, Kind::done, false},
    };
    for (const auto& c : cases) {
        OnboardingFlow flow = at(c.from, c.mode);
        const bool finished = flow.next(c.ready, c.usesNative);
        EXPECT_EQ(flow.step().kind, c.to) << c.what;
        EXPECT_EQ(finished, c.to == Kind::done) << c.what;
        EXPECT_EQ(flow.installedOnEntry(), c.installedOnEntry) << c.what;
    }
}

TEST(OnboardingFlow, Back) {
    const MoveCase cases[] = {
        {"service", Kind::service, {}, false, false, Kind::welcome, false},
        {"install failed", Kind::installFailed, {}, false, false, Kind::welcome, false},
        {"awaiting approval", Kind::awaitingApproval, {}, false, false, Kind::welcome, false},
        {"hand-over, ready", Kind::handOver, {}, true, false, Kind::welcome, false},
        {"hand-over, service gone", Kind::handOver, {}, false, false, Kind::service, false},
        {"hand-over, reviewing", Kind::handOver, reviewing, true, false, Kind::service, true},
        {"tuning", Kind::tuning, {}, true, false, Kind::handOver, false},
        {"tuning, system limit skips the hand-over", Kind::tuning, {}, true, true, Kind::welcome, false},
        {"tuning, system limit, not ready", Kind::tuning, {}, false, true, Kind::service, false},
    };
    for (const auto& c : cases) {
        OnboardingFlow flow = at(c.from, c.mode);
        flow.back(c.ready, c.usesNative);
        EXPECT_EQ(flow.step().kind, c.to) << c.what;
        if (c.to == Kind::welcome) {
            EXPECT_EQ(flow.step().capability, probed) << c.what;
        }
        if (c.to == Kind::service) {
            EXPECT_EQ(flow.installedOnEntry(), c.installedOnEntry) << c.what;
        }
    }
}

TEST(OnboardingFlow, ProgressAndGoingBackByStep) {
    struct Case {
        Step step;
        std::optional<int> progress;
        std::optional<int> progressNative;
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
            const bool shortFlow = mode.approvalOnly || mode.migrationOnly;
            EXPECT_EQ(flow.progress(false), shortFlow ? std::nullopt : c.progress) << name(c.step.kind);
            EXPECT_EQ(flow.progress(true), shortFlow ? std::nullopt : c.progressNative) << name(c.step.kind);
            EXPECT_EQ(flow.canGoBack(), !shortFlow && c.canGoBack) << name(c.step.kind);
        }
    }
}

TEST(OnboardingFlow, InstallOutcome) {
    struct Case {
        const char* what;
        void (*change)(ChargeSettingsState&);
        bool usesNative;
        Step step;
    };
    const Case cases[] = {
        {"error",
         [](ChargeSettingsState& s) {
             s.serviceError = "refused";
             s.daemonInstalled = true;
         },
         false, Step::installFailed("refused")},
        {"installed", [](ChargeSettingsState& s) { s.daemonInstalled = true; }, false,
         Step::plain(Kind::handOver)},
        {"installed, system limit", [](ChargeSettingsState& s) { s.daemonInstalled = true; }, true,
         Step::plain(Kind::tuning)},
        {"waiting for approval", [](ChargeSettingsState&) {}, false, Step::plain(Kind::awaitingApproval)},
    };
    for (const auto& c : cases) {
        OnboardingFlow flow = at(Kind::service);
        ChargeSettingsState settings;
        c.change(settings);
        flow.installed(settings, c.usesNative);
        EXPECT_EQ(flow.step(), c.step) << c.what;
    }
}

TEST(OnboardingFlow, PollTickAdvancesOnceTheServiceIsReady) {
    struct Case {
        const char* what;
        Mode mode;
        bool enteredReady;
        bool ready;
        bool usesNative;
        Kind to;
    };
    const Case cases[] = {
        {"not ready yet", {}, false, false, false, Kind::service},
        {"ready", {}, false, true, false, Kind::handOver},
        {"ready, system limit", {}, false, true, true, Kind::tuning},
        {"ready on entry: the user moves on", reviewing, true, true, false, Kind::service},
        {"approval only", approvalOnly, false, true, false, Kind::done},
        {"migration only", migrationOnly, false, true, true, Kind::done},
    };
    for (const auto& c : cases) {
        OnboardingFlow flow(c.mode);
        flow.probed(HardwareProbe::Supported{"sysfs", std::nullopt, false});
        flow.next(c.enteredReady, false);
        ASSERT_EQ(flow.step().kind, Kind::service) << c.what;
        EXPECT_EQ(flow.tick(c.ready, c.usesNative), c.to != Kind::service) << c.what;
        EXPECT_EQ(flow.step().kind, c.to) << c.what;
        EXPECT_FALSE(flow.polls() && c.to != Kind::service) << c.what;
    }
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

TEST(OnboardingProfiles, RestingFloor) {
    struct Case {
        int limit;
        int hysteresis;
        bool usesNative;
        int floor;
    };
    const Case cases[] = {{80, 20, false, 60}, {30, 20, false, 20}, {80, 20, true, 75}, {22, 20, true, 20}};
    for (const auto& c : cases) {
        Settings settings;
        settings.limit = c.limit;
        settings.hysteresis = c.hysteresis;
        EXPECT_EQ(OnboardingFlow::restingFloor(settings, c.usesNative), c.floor)
            << c.limit << "/" << c.hysteresis;
    }
}

TEST(OnboardingProfiles, ApplyAndMatch) {
    const auto& travel = OnboardingFlow::profiles[2];
    Settings settings;
    settings.discharge = true;
    const Settings noDischarge = OnboardingFlow::apply(travel, settings, false);
    EXPECT_EQ(noDischarge.limit, 90);
    EXPECT_EQ(noDischarge.hysteresis, 20);
    EXPECT_TRUE(noDischarge.discharge);
    EXPECT_FALSE(OnboardingFlow::apply(travel, settings, true).discharge);

    EXPECT_TRUE(travel.matches(noDischarge));
    Settings limitOnly = noDischarge;
    limitOnly.hysteresis = 5;
    EXPECT_FALSE(travel.matches(limitOnly));
    EXPECT_FALSE(OnboardingFlow::profiles[1].matches(noDischarge));
}

TEST(OnboardingWindowSync, SelfOpeningFlows) {
    struct Case {
        bool flag;
        bool seen;
        bool dismissed;
        bool visible;
        bool opens;
    };
    const Case cases[] = {
        {true, true, false, false, true},   {false, true, false, false, false},
        {true, false, false, false, false}, {true, true, true, false, false},
        {true, true, false, true, false},
    };
    for (const auto& c : cases) {
        const OnboardingWindowSync sync{c.dismissed, c.dismissed};
        const auto approval = sync.syncApproval(c.flag, c.seen, c.visible);
        EXPECT_EQ(approval.has_value(), c.opens);
        if (approval) {
            EXPECT_EQ(*approval, (approvalOnly));
        }
        // The migration flow does not wait for the first run to be complete.
        const auto migration = sync.syncMigration(c.flag, c.visible);
        EXPECT_EQ(migration.has_value(), c.flag && !c.dismissed && !c.visible);
        if (migration) {
            EXPECT_EQ(*migration, (migrationOnly));
        }
    }
}

}  // namespace
}  // namespace torvel
