#include <gtest/gtest.h>

#include <fstream>

#include "qt_support.h"
#include "service/charge_settings_model.h"
#include "service/systemd_units.h"
#include "settings_rig.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::Rig;
using Status = ServiceRegistration::Status;

TEST(ChargeSettings, PollsQuicklyOnlyWhileAViewWatches) {
    Rig rig;
    ChargeSettings& settings = rig.make();
    EXPECT_EQ(settings.pollInterval(), 30'000ms);
    settings.watchLive();
    settings.watchLive();
    EXPECT_EQ(settings.pollInterval(), 1'500ms);
    settings.unwatchLive();
    EXPECT_EQ(settings.pollInterval(), 1'500ms) << "one view still watches";
    settings.unwatchLive();
    EXPECT_EQ(settings.pollInterval(), 30'000ms);
}

TEST(ChargeSettings, AsksTheServiceManagerAtMostEveryTenSecondsUnlessWatched) {
    Rig rig;
    ChargeSettings& settings = rig.make();
    const int afterStart = rig.units.statusCalls;

    rig.now += 9.9;
    settings.refreshStatus();
    EXPECT_EQ(rig.units.statusCalls, afterStart);
    rig.now += 0.1;
    settings.refreshStatus();
    EXPECT_EQ(rig.units.statusCalls, afterStart + 1);

    settings.watchLive();
    rig.now += 1.5;
    settings.refreshStatus();
    rig.now += 1.5;
    settings.refreshStatus();
    EXPECT_EQ(rig.units.statusCalls, afterStart + 3);
}

TEST(ChargeSettings, EachRefreshTellsTheNotifierWhetherTheLimitWorks) {
    struct Case {
        const char* name;
        std::string fields;
        double age;
        QVariant expected;
    };
    const Case cases[] = {
        {"verified", R"("state":"hold","gateVerified":true)", 0, QVariant(true)},
        {"failing", R"("state":"hold","gateVerified":false)", 0, QVariant(false)},
        {"not yet known", R"("state":"hold")", 0, QVariant()},
        {"stale file is not believed", R"("state":"hold","gateVerified":false)", 61, QVariant()},
    };
    for (const Case& c : cases) {
        Rig rig;
        rig.units.state = Status::enabled;
        ChargeSettings& settings = rig.make();
        std::vector<std::pair<QVariant, bool>> refreshed;
        QObject::connect(
            &settings, &ChargeSettings::statusRefreshed,
            [&](const QVariant& verified, bool locked) { refreshed.emplace_back(verified, locked); });
        rig.writeStatus(c.fields, c.age);
        settings.refreshStatus();
        ASSERT_EQ(refreshed.size(), 1u) << c.name;
        EXPECT_EQ(refreshed[0].first, c.expected) << c.name;
        EXPECT_FALSE(refreshed[0].second) << c.name << ": the system is not locked";
    }
}

TEST(ChargeSettings, SavesReachTheServiceInOrderAndOnlyTheNewestAnswerSpeaks) {
    struct Case {
        const char* name;
        ServiceCalls::Result first;
        ServiceCalls::Result second;
        QString writeError;
    };
    const Case cases[] = {
        {"both fine", std::nullopt, std::nullopt, {}},
        {"overtaken failure is dropped", "The charge service refused the change.", std::nullopt, {}},
        {"newest failure stands", std::nullopt, "The charge service stopped responding.",
         QStringLiteral("The charge service stopped responding.")},
    };
    for (const Case& c : cases) {
        Rig rig;
        rig.units.state = Status::enabled;
        ChargeSettings& settings = rig.make();
        settings.setLimit(70);
        settings.save();
        settings.setLimit(75);
        settings.save();
        ASSERT_EQ(rig.calls.applies.size(), 1u) << c.name << ": the second save waits for the first";
        EXPECT_EQ(settings.savesPending(), 2u);

        rig.calls.applies[0].done(c.first);
        ASSERT_EQ(rig.calls.applies.size(), 2u) << c.name;
        EXPECT_EQ(rig.calls.applies[0].settings.limit, 70);
        EXPECT_EQ(rig.calls.applies[1].settings.limit, 75);
        EXPECT_EQ(settings.writeError(), QString()) << c.name;

        rig.calls.applies[1].done(c.second);
        EXPECT_EQ(settings.writeError(), c.writeError) << c.name;
        EXPECT_EQ(settings.savesPending(), 0u);
    }
}

TEST(ChargeSettings, SettingsSavedBeforeInstallationAreSentOnceTheServiceAppears) {
    Rig rig;
    ChargeSettings& settings = rig.make();
    settings.setLimit(65);
    settings.save();
    rig.calls.applies[0].done(std::string("The charge service isn’t reachable."));
    EXPECT_EQ(settings.writeError(), QString()) << "not installed: nothing to report yet";
    EXPECT_TRUE(settings.settingsAwaitingService());
    EXPECT_FALSE(settings.canReachService());

    rig.units.state = Status::enabled;
    settings.syncService();
    ASSERT_EQ(rig.calls.applies.size(), 2u);
    EXPECT_EQ(rig.calls.applies[1].settings.limit, 65);
    EXPECT_FALSE(settings.settingsAwaitingService());
    settings.syncService();
    EXPECT_EQ(rig.calls.applies.size(), 2u) << "sent once";
}

TEST(ChargeSettings, ACalibrateTapHoldsUntilTheServiceHasHadTimeToSeeIt) {
    Rig rig;
    rig.units.state = Status::enabled;
    ChargeSettings& settings = rig.make();
    settings.setCalibrate(true);
    rig.now += 7;
    rig.writeStatus(R"("state":"hold","cal":{"phase":"idle"})");
    settings.refreshStatus();
    EXPECT_TRUE(settings.value().settings.calibrate);
    rig.now += 2;
    rig.writeStatus(R"("state":"hold","cal":{"phase":"idle"})");
    settings.refreshStatus();
    EXPECT_FALSE(settings.value().settings.calibrate);
}

TEST(ChargeSettings, AServiceOfAnotherCopyIsTakenBackOnceAndOnlyFromAnInstalledCopy) {
    struct Case {
        const char* name;
        bool installedCopy;
        std::vector<std::string> log;
        QString state;
    };
    const Case cases[] = {
        {"installed copy re-points once",
         true,
         {"disable", "enable"},
         QStringLiteral("elsewhereInApplications")},
        {"copy elsewhere never does", false, {}, QStringLiteral("elsewhere")},
    };
    for (const Case& c : cases) {
        Rig rig;
        rig.units.state = Status::enabled;
        rig.installation.ownCopyInApplications = c.installedCopy;
        rig.writeStatus(R"("state":"hold","daemonPath":"/opt/old/torvel-daemon","daemonVersion":"0.1.0")");
        ChargeSettings& settings = rig.make();
        settings.watchLive();
        for (int tick = 0; tick < 3; ++tick) {
            rig.now += 1.5;
            rig.writeStatus(
                R"("state":"hold","daemonPath":"/opt/old/torvel-daemon","daemonVersion":"0.1.0")");
            settings.refreshStatus();
        }
        EXPECT_EQ(rig.units.log, c.log) << c.name;
        EXPECT_EQ(settings.serviceStateName(), c.state) << c.name << ": the path still differs afterwards";
    }
}

TEST(ChargeSettings, AnOutdatedServiceIsRestartedOnceAndRegisteredAfreshWhenTheRestartFails) {
    struct Case {
        const char* name;
        ServiceCalls::Result restart;
        std::vector<std::string> log;
    };
    const Case cases[] = {
        {"restart works", std::nullopt, {}},
        {"restart fails", std::string("The charge service didn’t restart."), {"disable", "enable"}},
    };
    for (const Case& c : cases) {
        Rig rig;
        rig.units.state = Status::enabled;
        rig.calls.restartResult = c.restart;
        rig.writeStatus(
            R"("state":"hold","daemonPath":"/usr/libexec/torvel/torvel-daemon","daemonVersion":"0.0.9")");
        ChargeSettings& settings = rig.make();
        settings.watchLive();
        settings.refreshStatus();
        settings.refreshStatus();
        EXPECT_EQ(rig.calls.restarts, 1) << c.name;
        EXPECT_EQ(rig.units.log, c.log) << c.name;
        EXPECT_EQ(settings.serviceStateName(), QStringLiteral("outdated")) << c.name;
    }
}

TEST(ChargeSettings, MigrationFromTheHandInstalledServiceEndsByItsPromptAnswer) {
    struct Case {
        const char* name;
        int exitCode;
        bool needsMigration;
        bool fallback;
        std::vector<std::string> log;
    };
    const Case cases[] = {
        {"removed and reinstalled", 0, false, false, {"enable"}},
        {"prompt dismissed", 126, true, false, {}},
        {"script failed", 1, true, true, {}},
    };
    for (const Case& c : cases) {
        Rig rig;
        std::ofstream(rig.legacyUnit()) << "[Service]\n";
        rig.elevateExit = c.exitCode;
        ChargeSettings& settings = rig.make(rig.root.path() / "uninstall-service");
        ASSERT_TRUE(settings.serviceNeedsMigration()) << c.name;
        EXPECT_EQ(rig.service->migrationCommand(),
                  "sudo bash \"" + (rig.root.path() / "uninstall-service").string() + "\" --keep-data");

        settings.migrateLegacyService();
        EXPECT_FALSE(settings.migrating()) << c.name;
        EXPECT_EQ(settings.serviceNeedsMigration(), c.needsMigration) << c.name;
        EXPECT_EQ(settings.migrationFallback(), c.fallback) << c.name;
        EXPECT_EQ(rig.units.log, c.log) << c.name;
    }
}

TEST(ChargeSettings, InstallIsRefusedWhileTheHandInstalledServiceIsThere) {
    Rig rig;
    std::ofstream(rig.legacyUnit()) << "[Service]\n";
    ChargeSettings& settings = rig.make();
    rig.service->install();
    settings.syncService();
    EXPECT_TRUE(rig.units.log.empty());
    EXPECT_EQ(settings.serviceError().toStdString(), legacyServicePresentText());
    EXPECT_EQ(settings.serviceStateName(), QStringLiteral("needsMigration"));
}

TEST(ChargeSettings, RemovalReleasesChargingWithoutWaitingLongThenUnregisters) {
    Rig rig;
    rig.units.state = Status::enabled;
    ChargeSettings& settings = rig.make();
    bool done = false;
    settings.removeService([&] { done = true; });
    EXPECT_TRUE(done);
    ASSERT_EQ(rig.calls.releases.size(), 1u);
    EXPECT_EQ(rig.calls.releases[0], 3000ms);
    EXPECT_EQ(rig.units.log, std::vector<std::string>{"disable"});
    EXPECT_EQ(settings.serviceStateName(), QStringLiteral("notInstalled"));

    rig.units.state = Status::enabled;
    settings.syncService();
    settings.removeEverything();
    EXPECT_EQ(rig.calls.purges, 1);
    EXPECT_FALSE(settings.daemonInstalled());
}

TEST(SystemdUnits, UnitFileStatesAndErrorsInTheRegistrationsTerms) {
    EXPECT_EQ(SystemdUnits::statusFromUnitFileState("enabled"), Status::enabled);
    EXPECT_EQ(SystemdUnits::statusFromUnitFileState("enabled-runtime"), Status::enabled);
    EXPECT_EQ(SystemdUnits::statusFromUnitFileState("disabled"), Status::notRegistered);
    EXPECT_EQ(SystemdUnits::statusFromUnitFileState("masked"), Status::notRegistered);

    struct Case {
        const char* errorName;
        const char* message;
        std::string text;
    };
    const Case cases[] = {
        {"org.freedesktop.systemd1.NoSuchUnit", "Unit torvel-daemon.service not found.",
         "Part of Torvel is missing. Download it again and try once more."},
        {"org.freedesktop.DBus.Error.AccessDenied", "Access denied", "Access denied"},
        {"org.freedesktop.DBus.Error.NoReply", "", "org.freedesktop.DBus.Error.NoReply"},
    };
    for (const Case& c : cases) {
        const RegistrationError error = SystemdUnits::errorFrom(c.errorName, c.message);
        EXPECT_EQ(explainRegistrationError(error.code, error.description), c.text) << c.errorName;
    }
}

TEST(ChargeService, PkexecExitCodesBecomeTheMigrationsThreeOutcomes) {
    using R = ChargeService::LegacyRemoval;
    EXPECT_EQ(ChargeService::legacyRemovalFromExitCode(0), R::removed);
    EXPECT_EQ(ChargeService::legacyRemovalFromExitCode(126), R::cancelled);
    EXPECT_EQ(ChargeService::legacyRemovalFromExitCode(127), R::failed);
    EXPECT_EQ(ChargeService::legacyRemovalFromExitCode(1), R::failed);
}

}  // namespace
}  // namespace torvel::app
