#include <gtest/gtest.h>

#include <QMetaProperty>
#include <set>

#include "qt_support.h"
#include "service/charge_settings_model.h"

namespace torvel::app {
namespace {

using namespace std::chrono_literals;
using testing::Rig;
using testing::Status;

TEST(ChargeSettingsModel, PollsQuicklyAndAsksTheServiceManagerEachTimeOnlyWhileAViewWatches) {
    Rig rig;
    ChargeSettingsModel& settings = rig.make();
    const int afterStart = rig.fake.statusCalls;
    EXPECT_EQ(settings.pollInterval(), 30'000ms);
    rig.now += 9.9;
    settings.refreshStatus();
    EXPECT_EQ(rig.fake.statusCalls, afterStart) << "unwatched: at most every ten seconds";
    rig.now += 0.1;
    settings.refreshStatus();
    EXPECT_EQ(rig.fake.statusCalls, afterStart + 1);

    settings.watchLive();
    settings.watchLive();
    settings.unwatchLive();
    EXPECT_EQ(settings.pollInterval(), 1'500ms) << "one view still watches";
    rig.now += 1.5;
    settings.refreshStatus();
    EXPECT_EQ(rig.fake.statusCalls, afterStart + 2);
    settings.unwatchLive();
    settings.unwatchLive();
    EXPECT_EQ(settings.liveWatchers(), 0) << "an extra unwatch must not leave the count below zero";
    EXPECT_EQ(settings.pollInterval(), 30'000ms);
}

TEST(ChargeSettingsModel, EachRefreshTellsTheNotifierWhetherTheLimitWorks) {
    const std::tuple<std::string, double, QVariant> cases[] = {
        {R"("state":"hold","gateVerified":true)", 0, QVariant(true)},
        {R"("state":"hold","gateVerified":false)", 0, QVariant(false)},
        {R"("state":"hold")", 0, QVariant()},
        {R"("state":"hold","gateVerified":false)", 61, QVariant()},  // a stale file is not believed
    };
    for (const auto& [fields, age, verified] : cases) {
        Rig rig(Status::enabled);
        ChargeSettingsModel& settings = rig.make();
        std::vector<std::pair<QVariant, bool>> refreshed;
        QObject::connect(&settings, &ChargeSettingsModel::statusRefreshed,
                         [&](const QVariant& gate, bool locked) { refreshed.emplace_back(gate, locked); });
        rig.writeStatus(fields, age);
        settings.refreshStatus();
        EXPECT_EQ(refreshed, (std::vector<std::pair<QVariant, bool>>{{verified, false}})) << fields;
    }
}

TEST(ChargeSettingsModel, SavesReachTheServiceInOrderAndOnlyTheNewestAnswerSpeaks) {
    const std::string refused = "The charge service refused the change.";
    const std::string stopped = "The charge service stopped responding.";
    const std::tuple<ServiceCalls::Result, ServiceCalls::Result, std::string> cases[] = {
        {std::nullopt, std::nullopt, ""},
        {refused, std::nullopt, ""},  // overtaken by a newer save
        {std::nullopt, stopped, stopped},
    };
    for (const auto& [first, second, writeError] : cases) {
        Rig rig(Status::enabled);
        ChargeSettingsModel& settings = rig.make();
        for (const int limit : {70, 75}) {
            settings.setLimit(limit);
            settings.save();
        }
        ASSERT_EQ(rig.fake.applies.size(), 1u) << "the second save waits for the first";
        EXPECT_EQ(settings.savesPending(), 2u);
        rig.fake.applies[0].done(first);
        ASSERT_EQ(rig.fake.applies.size(), 2u);
        EXPECT_EQ(rig.fake.applies[0].settings.limit, 70);
        EXPECT_EQ(rig.fake.applies[1].settings.limit, 75);
        EXPECT_EQ(settings.writeError(), QString());
        rig.fake.applies[1].done(second);
        EXPECT_EQ(settings.writeError().toStdString(), writeError);
        EXPECT_EQ(settings.savesPending(), 0u);
    }
}

TEST(ChargeSettingsModel, SettingsSavedBeforeInstallationAreSentOnceTheServiceAppears) {
    Rig rig;
    ChargeSettingsModel& settings = rig.make();
    settings.setLimit(65);
    settings.save();
    rig.fake.applies[0].done(std::string("The charge service isn’t reachable."));
    EXPECT_EQ(settings.writeError(), QString()) << "not installed: nothing to report yet";
    EXPECT_TRUE(settings.settingsAwaitingService());
    EXPECT_FALSE(settings.canReachService());

    rig.fake.state = Status::enabled;
    settings.syncService();
    settings.syncService();
    ASSERT_EQ(rig.fake.applies.size(), 2u) << "sent once";
    EXPECT_EQ(rig.fake.applies[1].settings.limit, 65);
    EXPECT_FALSE(settings.settingsAwaitingService());
}

TEST(ChargeSettingsModel, ACalibrateTapHoldsUntilTheServiceHasHadTimeToSeeIt) {
    Rig rig(Status::enabled);
    ChargeSettingsModel& settings = rig.make();
    settings.setCalibrate(true);
    for (const auto& [wait, calibrating] : {std::pair{7.0, true}, std::pair{2.0, false}}) {
        rig.now += wait;
        rig.writeStatus(R"("state":"hold","cal":{"phase":"idle"})");
        settings.refreshStatus();
        EXPECT_EQ(settings.value().settings.calibrate, calibrating) << rig.now;
    }
}

TEST(ChargeSettingsModel, AServiceOfAnotherCopyOrVersionIsRepairedOnlyOnce) {
    const std::string otherCopy = R"("daemonPath":"/opt/old/torvel-daemon","daemonVersion":"0.1.0")";
    const std::string oldVersion =
        R"("daemonPath":"/usr/libexec/torvel/torvel-daemon","daemonVersion":"0.0.9")";
    struct Case {
        std::string daemon;
        bool installedCopy;
        ServiceCalls::Result restart;
        std::string log;
        const char* state;
    };
    const Case cases[] = {
        {otherCopy, true, std::nullopt, "disable;enable;", "elsewhereInApplications"},
        {otherCopy, false, std::nullopt, "", "elsewhere"},  // only an installed copy takes the service back
        {oldVersion, true, std::nullopt, "restart;", "outdated"},
        {oldVersion, true, "The charge service didn’t restart.", "restart;disable;enable;", "outdated"},
    };
    for (const Case& c : cases) {
        Rig rig(Status::enabled);
        rig.installation.ownCopyInApplications = c.installedCopy;
        rig.fake.restartResult = c.restart;
        rig.writeStatus(R"("state":"hold",)" + c.daemon);
        ChargeSettingsModel& settings = rig.make();
        settings.watchLive();
        for (int tick = 0; tick < 3; ++tick) {
            rig.now += 1.5;
            rig.writeStatus(R"("state":"hold",)" + c.daemon);
            settings.refreshStatus();
        }
        EXPECT_EQ(rig.fake.log, c.log) << c.state;
        EXPECT_EQ(settings.serviceStateName(), QString(c.state)) << "the service still differs afterwards";
    }
}

TEST(ChargeSettingsModel, MigrationFromTheHandInstalledServiceEndsByItsPromptAnswer) {
    // pkexec's exit code, then whether the old service is still to migrate, the fallback shows, the log.
    const std::tuple<int, bool, bool, std::string> cases[] = {
        {0, false, false, "enable;"}, {126, true, false, ""}, {127, true, true, ""}, {1, true, true, ""}};
    for (const auto& [exitCode, needsMigration, fallback, log] : cases) {
        Rig rig;
        rig.shadowThePackage();
        rig.elevateExit = exitCode;
        ChargeSettingsModel& settings = rig.make(rig.root.path() / "uninstall-service");
        ASSERT_TRUE(settings.serviceNeedsMigration());
        EXPECT_EQ(rig.service->migrationCommand(),
                  "sudo bash \"" + (rig.root.path() / "uninstall-service").string() + "\" --keep-data");
        rig.service->install();
        settings.syncService();
        EXPECT_EQ(rig.fake.log, "") << "no install over the hand-installed service";
        EXPECT_EQ(settings.serviceError().toStdString(), legacyServicePresentText());
        EXPECT_EQ(settings.serviceStateName(), QStringLiteral("needsMigration"));

        settings.migrateLegacyService();
        EXPECT_FALSE(settings.migrating()) << exitCode;
        EXPECT_EQ(std::pair(settings.serviceNeedsMigration(), settings.migrationFallback()),
                  std::pair(needsMigration, fallback))
            << exitCode;
        EXPECT_EQ(rig.fake.log, log) << exitCode;
    }
}

TEST(ChargeSettingsModel, RemovingEverythingPurgesThenUnregisters) {
    Rig rig(Status::enabled);
    ChargeSettingsModel& settings = rig.make();
    bool done = false;
    settings.removeEverything([&] { done = true; });
    EXPECT_TRUE(done);
    EXPECT_EQ(rig.fake.log, "purge;disable;");
    EXPECT_FALSE(settings.daemonInstalled());
}

TEST(ChargeSettingsModel, AStatusThatBringsNothingNewLeavesTheDerivedModelsAlone) {
    Rig rig(Status::enabled);
    ChargeSettingsModel& settings = rig.make();
    rig.writeStatus(R"("state":"hold","pct":80)");
    settings.refreshStatus();
    int recomputes = 0;
    QObject::connect(&settings, &ChargeSettingsModel::statusChanged, [&recomputes] { ++recomputes; });
    rig.now += 30;
    rig.writeStatus(R"("state":"hold","pct":80)");
    settings.refreshStatus();
    EXPECT_EQ(recomputes, 0) << "only the time the service wrote the file moved";
    rig.now += 30;
    rig.writeStatus(R"("state":"hold","pct":79)");
    settings.refreshStatus();
    EXPECT_EQ(recomputes, 1);
}

TEST(ChargeSettingsModel, EachPropertyAnnouncesItsOwnChangeAndOnlyWhenItChanges) {
    const QMetaObject& meta = ChargeSettingsModel::staticMetaObject;
    std::set<QByteArray> signalNames;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        ASSERT_TRUE(property.hasNotifySignal()) << property.name();
        signalNames.insert(property.notifySignal().name());
    }
    EXPECT_EQ(signalNames.size(), static_cast<std::size_t>(meta.propertyCount() - meta.propertyOffset()))
        << "two properties share a change signal";

    const std::pair<std::string, void (ChargeSettingsModel::*)()> changeSignals[] = {
        {"enabled", &ChargeSettingsModel::enabledChanged},
        {"limit", &ChargeSettingsModel::limitChanged},
        {"heldLimit", &ChargeSettingsModel::heldLimitChanged},
        {"topUp", &ChargeSettingsModel::topUpChanged},
        {"thermalLimit", &ChargeSettingsModel::thermalLimitChanged},
        {"canReachService", &ChargeSettingsModel::canReachServiceChanged},
        {"state", &ChargeSettingsModel::stateChanged},
        {"serviceState", &ChargeSettingsModel::serviceStateChanged},
        {"writeError", &ChargeSettingsModel::writeErrorChanged},
        {"serviceError", &ChargeSettingsModel::serviceErrorChanged},
        {"daemonInstalled", &ChargeSettingsModel::daemonInstalledChanged},
        {"serviceNeedsApproval", &ChargeSettingsModel::serviceNeedsApprovalChanged},
        {"serviceNeedsMigration", &ChargeSettingsModel::serviceNeedsMigrationChanged},
        {"migrating", &ChargeSettingsModel::migratingChanged},
        {"migrationFallback", &ChargeSettingsModel::migrationFallbackChanged},
        {"liveWatchers", &ChargeSettingsModel::liveWatchersChanged},
        {"saveNote", &ChargeSettingsModel::saveNoteChanged},
    };
    ASSERT_EQ(std::size(changeSignals), signalNames.size());

    using Step = std::function<void(Rig&, ChargeSettingsModel&)>;
    const std::tuple<const char*, Step, std::set<std::string>> cases[] = {
        {"a new limit", [](Rig&, ChargeSettingsModel& s) { s.setLimit(70); }, {"limit", "heldLimit"}},
        {"the same limit", [](Rig&, ChargeSettingsModel& s) { s.setLimit(s.limit()); }, {}},
        {"top-up", [](Rig&, ChargeSettingsModel& s) { s.setTopUp(true); }, {"topUp"}},
        {"a view appears", [](Rig&, ChargeSettingsModel& s) { s.watchLive(); }, {"liveWatchers"}},
        {"a refused save",
         [](Rig& rig, ChargeSettingsModel& s) {
             s.save();
             rig.fake.applies[0].done(std::string("The charge service refused the change."));
         },
         {"writeError", "canReachService"}},
        {"the service is switched off",
         [](Rig& rig, ChargeSettingsModel& s) {
             rig.fake.state = Status::notRegistered;
             s.syncService();
         },
         {"daemonInstalled", "canReachService", "serviceState"}},
    };
    for (const auto& [name, step, expected] : cases) {
        Rig rig(Status::enabled);
        ChargeSettingsModel& settings = rig.make();
        std::set<std::string> announced;
        for (const auto& change : changeSignals) {
            QObject::connect(&settings, change.second,
                             [&announced, property = change.first] { announced.insert(property); });
        }
        step(rig, settings);
        EXPECT_EQ(announced, expected) << name;
    }
}

}  // namespace
}  // namespace torvel::app
