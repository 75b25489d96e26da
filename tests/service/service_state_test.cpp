#include "service/service_state.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "service/charge_settings.h"

namespace torvel {
namespace {

constexpr const char* own = "/usr/libexec/torvel/torvel-daemon";

ServiceFacts running() {
    return ServiceFacts{.daemonInstalled = true,
                        .state = ChargeState::hold,
                        .daemonPath = own,
                        .daemonVersion = "1.5",
                        .ownDaemonPath = own,
                        .ownCopyInApplications = true,
                        .appVersion = "1.5"};
}

TEST(ServiceState, FirstMatchingCaseWins) {
    struct Case {
        const char* name;
        void (*change)(ServiceFacts&);
        ServiceState expected;
    };
    const Case cases[] = {
        {"healthy", [](ServiceFacts&) {}, ServiceState::running},
        {"approval beats not installed",
         [](ServiceFacts& f) {
             f.serviceNeedsApproval = true;
             f.daemonInstalled = false;
         },
         ServiceState::awaitingApproval},
        {"not installed", [](ServiceFacts& f) { f.daemonInstalled = false; }, ServiceState::notInstalled},
        {"migration beats elsewhere",
         [](ServiceFacts& f) {
             f.serviceNeedsMigration = true;
             f.daemonPath = "/opt/other/torvel-daemon";
         },
         ServiceState::needsMigration},
        {"other copy, this one installed",
         [](ServiceFacts& f) { f.daemonPath = "/home/me/build/torvel-daemon"; },
         ServiceState::elsewhereInApplications},
        {"other copy, this one not installed",
         [](ServiceFacts& f) {
             f.daemonPath = "/usr/libexec/torvel/torvel-daemon.old";
             f.ownCopyInApplications = false;
         },
         ServiceState::elsewhere},
        {"a build tree's service, run from the helper's root-owned copy",
         [](ServiceFacts& f) {
             f.daemonPath = "/usr/local/libexec/torvel/torvel-daemon";
             f.ownDaemonPath = "/home/me/build/daemon/torvel-daemon";
             f.ownCopyInApplications = false;
         },
         ServiceState::running},
        {"elsewhere beats outdated",
         [](ServiceFacts& f) {
             f.daemonPath = "/tmp/torvel-daemon";
             f.daemonVersion = "1.4";
         },
         ServiceState::elsewhereInApplications},
        {"outdated", [](ServiceFacts& f) { f.daemonVersion = "1.4"; }, ServiceState::outdated},
        {"outdated beats stale",
         [](ServiceFacts& f) {
             f.daemonVersion = "1.6";
             f.stale = true;
             f.state.reset();
         },
         ServiceState::outdated},
        {"stale",
         [](ServiceFacts& f) {
             f.stale = true;
             f.state.reset();
         },
         ServiceState::stale},
        {"unknown", [](ServiceFacts& f) { f.state.reset(); }, ServiceState::unknown},
        {"a newer service's state word",
         [](ServiceFacts& f) {
             f.state.reset();
             f.otherState = true;
         },
         ServiceState::running},
        {"empty path is no other copy", [](ServiceFacts& f) { f.daemonPath = ""; }, ServiceState::running},
        {"no version is never outdated", [](ServiceFacts& f) { f.daemonVersion.reset(); },
         ServiceState::running},
        {"unknown own version is never outdated", [](ServiceFacts& f) { f.appVersion.reset(); },
         ServiceState::running},
        {"trailing zero is the same version", [](ServiceFacts& f) { f.daemonVersion = "1.5.0"; },
         ServiceState::running},
    };
    for (const auto& c : cases) {
        ServiceFacts facts = running();
        c.change(facts);
        EXPECT_EQ(name(serviceState(facts)), name(c.expected)) << c.name;
    }
}

TEST(CompareVersions, NumericComponentByComponent) {
    struct Case {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"1.4", "1.5", -1}, {"1.5", "1.5.0", 0}, {"1.10", "1.9", 1},  {"2", "1.99.99", 1},
        {"1.05", "1.5", 0}, {"", "0", 0},        {"1.5b", "1.5a", 1}, {"1.5.1", "1.5", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(compareVersions(c.a, c.b), c.expected) << c.a << " vs " << c.b;
        EXPECT_EQ(compareVersions(c.b, c.a), -c.expected) << c.b << " vs " << c.a;
    }
}

TEST(DecideSync, RepairsAreOneShotAndOrdered) {
    struct Case {
        const char* name;
        SyncInputs inputs;
        SyncDecision expected;
    };
    const Case cases[] = {
        // clang-format off
        {"service appears with settings waiting", {.nowInstalled = true, .settingsAwaitingService = true}, {.resendSettings = true}},
        {"service appears after a write error", {.nowInstalled = true, .hasWriteError = true}, {.resendSettings = true}},
        {"service was already there", {.wasInstalled = true, .nowInstalled = true, .settingsAwaitingService = true}, {}},
        {"appears with nothing to send", {.nowInstalled = true}, {}},
        {"other copy, installed copy takes it back", {.fromElsewhere = true, .ownCopyInApplications = true}, {.repoint = true}},
        {"other copy, tried already", {.fromElsewhere = true, .ownCopyInApplications = true, .triedRepoint = true}, {}},
        {"other copy, this one is not installed", {.fromElsewhere = true}, {}},
        {"elsewhere and outdated: never restart someone else's service", {.fromElsewhere = true, .outdated = true}, {}},
        {"outdated", {.outdated = true}, {.restart = true}},
        {"outdated, restarted once already", {.outdated = true, .triedServiceRefresh = true}, {}},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(decideSync(c.inputs), c.expected) << c.name;
    }
}

TEST(ServiceRegistration, TheUnitsOnDiskDecideWhoseServiceRuns) {
    using Status = ServiceRegistration::Status;
    using enum ServiceRegistration::Status;
    using S = ServiceState;
    const std::string packaged = "[Service]\nType=dbus\nExecStart=/usr/libexec/torvel/torvel-daemon\n";
    const std::string build = "/home/ana/torvel/build/default/daemon/torvel-daemon";
    const std::string helperForBuild = "[Service]\nExecStart=" + build + "\n";
    const std::string helperForPackage =
        "[Service]\nExecStart=-/usr/libexec/torvel/torvel-daemon --verbose\n";
    const struct {
        const char* name;
        Status status;
        UnitFiles units;
        std::string runningFrom;  // the daemonPath the service publishes
        std::string own;          // this copy's daemon
        std::string daemonVersion;
        ServiceState expected;
    } cases[] = {
        // clang-format off
        {"package", enabled, {.package = packaged}, own, own, "1.5", S::running},
        {"package, older daemon", enabled, {.package = packaged}, own, own, "1.4", S::outdated},
        {"helper for this build", enabled, {.helper = helperForBuild}, build, build, "1.5", S::running},
        {"helper unit, disabled", notRegistered, {.helper = helperForBuild}, "", build, "1.5", S::notInstalled},
        {"development build beside the package", enabled, {.package = packaged}, own, build, "1.5", S::elsewhere},
        {"packaged copy, service of a build", enabled, {.helper = helperForBuild}, build, own, "1.5", S::elsewhereInApplications},
        {"helper unit shadows the package", enabled, {.helper = helperForBuild, .package = packaged}, build, own, "1.5", S::needsMigration},
        {"helper unit runs the package's daemon", enabled, {.helper = helperForPackage, .package = packaged}, own, own, "1.5", S::running},
        {"nothing at all", notFound, {}, "", own, "", S::notInstalled},
        // clang-format on
    };
    for (const auto& c : cases) {
        const ServiceRegistration registration = decideRegistration(c.status, c.units);
        ServiceFacts facts = running();
        facts.daemonInstalled = registration.installed();
        facts.serviceNeedsMigration = registration.needsMigration();
        facts.daemonPath = c.runningFrom;
        facts.daemonVersion = c.daemonVersion;
        facts.ownDaemonPath = c.own;
        facts.ownCopyInApplications = c.own == own;
        EXPECT_EQ(name(serviceState(facts)), name(c.expected)) << c.name;
        EXPECT_EQ(registration.byHelper, c.units.helper.has_value()) << c.name;
    }
}

TEST(ServiceRegistration, UnitExecutableReadsTheLastExecStart) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"[Service]\nExecStart=/usr/libexec/torvel/torvel-daemon\n", "/usr/libexec/torvel/torvel-daemon"},
        {"  ExecStart=@-/opt/t/torvel-daemon torvel-daemon --x\r\n", "/opt/t/torvel-daemon"},
        {"ExecStart=/a\nExecStart=\n", std::nullopt},
        {"ExecStart=/a\nExecStart=\nExecStart=/b\n", "/b"},
        {"# ExecStart=/commented\nExecStartPre=/bin/true\n", std::nullopt},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(unitExecutable(text), expected) << text;
}

TEST(ServiceTexts, MigrationCommandAndRegistrationErrors) {
    EXPECT_EQ(migrationCommand("/usr/share/torvel/uninstall-service"),
              "sudo bash \"/usr/share/torvel/uninstall-service\" --keep-data");
    EXPECT_FALSE(migrationCommand(std::nullopt));
    EXPECT_EQ(explainRegistrationError(2, "whatever"),
              "Part of Torvel is missing. Download it again and try once more.");
    EXPECT_EQ(explainRegistrationError(5, "Access denied"), "Access denied");
    EXPECT_TRUE(explainRegistrationError(1, "").starts_with("macOS wouldn’t let Torvel install its helper."));
}

TEST(ChargeSettingsState, HeldLimitAndReach) {
    ChargeSettingsState state;
    state.settings.limit = 80;
    EXPECT_EQ(state.heldLimit(), 80);
    state.status.published.nativeFloor = 85;
    EXPECT_EQ(state.heldLimit(), 85);
    state.status.published.nativeFloor = 60;
    EXPECT_EQ(state.heldLimit(), 80);

    EXPECT_FALSE(state.canReachService());
    state.daemonInstalled = true;
    EXPECT_TRUE(state.canReachService());
    state.writeError = "The charge service isn’t reachable.";
    EXPECT_FALSE(state.canReachService());
}

TEST(InstalledCopy, OnlyWhatResolvesUnderUsrIsPackaged) {
    // A link from a build tree into /usr counts by where it leads, and a look-alike prefix does not count.
    const auto link =
        std::filesystem::temp_directory_path() / ("torvel-installed-" + std::to_string(::getpid()));
    std::filesystem::remove(link);
    std::filesystem::create_directory_symlink("/usr/bin", link);
    const std::pair<std::filesystem::path, bool> cases[] = {
        {installedDaemonPath, true},
        {"/usr/bin", true},
        {link, true},
        {"/usrlocal/bin", false},
        {"/opt/torvel/bin", false},
        {std::filesystem::temp_directory_path(), false},
    };
    for (const auto& [path, installed] : cases) EXPECT_EQ(isInstalledCopy(path), installed) << path;
    std::filesystem::remove(link);
}

}  // namespace
}  // namespace torvel
