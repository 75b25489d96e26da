#include "onboarding/onboarding_model.h"

#include <gtest/gtest.h>

#include <map>

#include "qt_support.h"
#include "service/service_installer.h"

namespace torvel::app::testing {
namespace {

using Step = OnboardingModel::Step;

struct MapDefaults : DefaultsStore {
    std::map<std::string, bool, std::less<>> values;
    int writes = 0;
    bool boolean(std::string_view key) const override {
        const auto found = values.find(key);
        return found != values.end() && found->second;
    }
    void setBoolean(std::string_view key, bool value) override {
        values[std::string(key)] = value;
        ++writes;
    }
};

// Stands in for the ServiceInstaller: the unit ends in `leaves` and the service manager's error in `error`,
// then the settings read the registration again, as after a real helper run.
struct FakeSteps : ServiceSteps {
    Rig& rig;
    Status leaves = Status::enabled;
    std::optional<std::string> error;
    int installs = 0;
    int migrations = 0;

    explicit FakeSteps(Rig& r) : rig(r) {}
    bool install(std::function<void()> done) override {
        ++installs;
        rig.fake.state = leaves;
        rig.service->setLastError(error);
        rig.settings->syncService();
        done();
        return true;
    }
    bool migrate(std::function<void()> done) override {
        ++migrations;
        fs::remove(rig.legacyUnit());
        rig.settings->syncService();
        done();
        return true;
    }
};

// A probe that answers when the test says so.
struct FakeProbe {
    std::vector<OnboardingModel::ProbeDone> waiting;
    OnboardingModel::Probe function() {
        return [this](QObject*, OnboardingModel::ProbeDone done) { waiting.push_back(std::move(done)); };
    }
    void answer(const HardwareProbe::Result& result) {
        auto done = std::move(waiting.back());
        waiting.pop_back();
        done(result);
    }
};

// Counts a signal's emissions.
struct Count {
    int value = 0;
    template <class Sender, class Signal>
    Count(Sender* sender, Signal signal) {
        QObject::connect(sender, signal, [this] { ++value; });
    }
    int count() const { return value; }
};

const HardwareProbe::Result capable = HardwareProbe::Supported{"sysfs", "force-discharge", true};

struct Flow {
    Rig rig;
    MapDefaults defaults;
    FakeSteps steps{rig};
    FakeProbe probe;
    std::unique_ptr<OnboardingModel> model;

    explicit Flow(Status unit = Status::notRegistered, bool shadowed = false) : rig(unit) {
        if (shadowed) rig.shadowThePackage();
        rig.make();
    }
    OnboardingModel& open(OnboardingFlow::Mode mode = {}, SystemLock lock = {}) {
        model = std::make_unique<OnboardingModel>(
            OnboardingModel::Dependencies{.settings = *rig.settings,
                                          .service = steps,
                                          .defaults = defaults,
                                          .loginItem = nullptr,
                                          .lock = lock,
                                          .probe = probe.function(),
                                          .daemonSizeText = QStringLiteral("1.2 MB"),
                                          .pollInterval = std::chrono::milliseconds(5)},
            mode);
        return *model;
    }
};

TEST(OnboardingModel, AFirstRunFromTheProbeToTheFinish) {
    Flow flow;
    OnboardingModel& model = flow.open();
    Count finished(&model, &OnboardingModel::finished);
    EXPECT_EQ(model.step(), Step::Checking);
    flow.probe.answer(capable);
    EXPECT_EQ(model.step(), Step::Welcome);
    EXPECT_TRUE(model.discharge());
    EXPECT_TRUE(model.led());
    EXPECT_EQ(model.progress(), 0);
    EXPECT_FALSE(model.canGoBack());

    model.next();
    EXPECT_EQ(model.step(), Step::Service);
    EXPECT_TRUE(model.polling());
    EXPECT_EQ(flow.rig.settings->liveWatchers(), 1);
    model.back();
    EXPECT_EQ(model.step(), Step::Welcome);
    EXPECT_FALSE(model.polling());
    EXPECT_TRUE(model.discharge()) << "the welcome comes back with what the probe found";

    model.next();
    model.install();
    EXPECT_EQ(flow.steps.installs, 1);
    EXPECT_FALSE(model.busy()) << "an install that ended at once leaves nothing running";
    EXPECT_EQ(model.step(), Step::HandOver);
    EXPECT_EQ(model.progress(), 2);
    model.next();
    EXPECT_EQ(model.step(), Step::Tuning);
    EXPECT_EQ(model.progress(), 3);

    model.apply(0);
    EXPECT_EQ(flow.rig.settings->value().settings.limit, 70);
    EXPECT_EQ(flow.rig.settings->value().settings.hysteresis, 20);
    EXPECT_EQ(model.chosenProfile(), 0);
    EXPECT_EQ(model.restingFloor(), 50);
    EXPECT_FALSE(flow.rig.fake.applies.empty()) << "the profile is saved to the service";

    EXPECT_FALSE(flow.defaults.boolean("onboardingSeen"));
    model.next();
    EXPECT_EQ(model.step(), Step::Done);
    EXPECT_TRUE(flow.defaults.boolean("onboardingSeen"));
    EXPECT_EQ(flow.defaults.writes, 1);
    EXPECT_EQ(finished.count(), 1);

    flow.model.reset();
    EXPECT_EQ(flow.rig.settings->liveWatchers(), 0) << "a closed window stops watching";
}

TEST(OnboardingModel, WhereAnInstallLeadsAndWhatTheProbeSays) {
    SystemLock native;
    native.closesKeys = native.nativeAvailable = native.usesNative = true;
    const struct {
        const char* name;
        Status leaves;
        std::optional<std::string> error;
        SystemLock lock;
        Step step;
        QString message;
    } cases[] = {
        {"installed", Status::enabled, {}, {}, Step::HandOver, {}},
        {"installed, the system's own limit", Status::enabled, {}, native, Step::Tuning, {}},
        {"prompt dismissed", Status::notRegistered, {}, {}, Step::AwaitingApproval, {}},
        {"helper failed",
         Status::notRegistered,
         "install-service: no executable at /x",
         {},
         Step::InstallFailed,
         QStringLiteral("install-service: no executable at /x")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Flow flow;
        flow.steps.leaves = c.leaves;
        flow.steps.error = c.error;
        OnboardingModel& model = flow.open({}, c.lock);
        flow.probe.answer(capable);
        model.next();
        model.install();
        EXPECT_EQ(model.step(), c.step);
        EXPECT_EQ(model.message(), c.message);
        EXPECT_EQ(model.polling(), c.step == Step::AwaitingApproval);
    }

    const struct {
        HardwareProbe::Result answer;
        Step step;
        const char* begins;
    } probes[] = {
        {HardwareProbe::Unsupported::systemLocked, Step::Unsupported, "macOS "},
        {HardwareProbe::Unsupported::unknownHardware, Step::Unsupported, "Torvel couldn’t find a way"},
        {HardwareProbe::Failed{"Part of Torvel is missing. Download it again and try once more."},
         Step::ProbeFailed, "Part of Torvel is missing."},
    };
    for (const auto& p : probes) {
        SCOPED_TRACE(p.begins);
        Flow flow;
        OnboardingModel& model = flow.open();
        flow.probe.answer(p.answer);
        EXPECT_EQ(model.step(), p.step);
        EXPECT_TRUE(model.message().startsWith(QString::fromUtf8(p.begins))) << model.message().toStdString();
        EXPECT_FALSE(model.canGoBack());
        EXPECT_EQ(model.progress(), -1);
    }
}

TEST(OnboardingModel, AFailedInstallThenSkippedLeavesTheServiceToDoOnEveryLaterScreen) {
    Flow flow;
    flow.steps.leaves = Status::notRegistered;
    flow.steps.error = "Failed to connect to bus: Host is down";
    OnboardingModel& model = flow.open();
    Count words(&model, &OnboardingModel::wordsChanged);
    flow.probe.answer(capable);
    model.next();
    model.install();
    ASSERT_EQ(model.step(), Step::InstallFailed);
    EXPECT_EQ(model.message(), QStringLiteral("Failed to connect to bus: Host is down"))
        << "the system's words stay, beneath the product's sentence";
    EXPECT_TRUE(
        model.words()[QStringLiteral("failure")].toString().startsWith(QStringLiteral("Torvel couldn")));

    model.next();
    ASSERT_EQ(model.step(), Step::HandOver);
    const QVariantMap said = model.words();
    EXPECT_EQ(said[QStringLiteral("rail")].toList().value(1).toInt(), static_cast<int>(RailStop::toDo));
    EXPECT_FALSE(
        said[QStringLiteral("handOverRows")].toList().value(0).toMap()[QStringLiteral("ticked")].toBool());
    model.next();
    model.next();
    EXPECT_EQ(model.step(), Step::Done);
    EXPECT_TRUE(
        model.words()[QStringLiteral("doneSubtitle")].toString().contains(QStringLiteral("isn’t installed")));
    EXPECT_GE(words.count(), 4) << "the screens' words follow each step";
}

TEST(OnboardingModel, ThePollMovesOnOnceTheServiceRunsButNotForOneThatWasAlreadyThere) {
    {
        Flow flow;
        OnboardingModel& model = flow.open();
        flow.probe.answer(capable);
        model.next();
        ASSERT_EQ(model.step(), Step::Service);
        flow.rig.fake.state = Status::enabled;  // installed from a terminal meanwhile
        EXPECT_TRUE(spinUntil([&model] { return model.step() == Step::HandOver; }));
        EXPECT_FALSE(model.polling());
    }
    {
        Flow flow(Status::enabled);
        OnboardingModel& model = flow.open({.review = true});
        flow.probe.answer(capable);
        model.next();
        ASSERT_EQ(model.step(), Step::Service) << "a review shows the service step even when it is installed";
        QElapsedTimer waited;
        waited.start();
        spinUntil([&waited] { return waited.elapsed() > 60; });
        EXPECT_EQ(model.step(), Step::Service);
        model.next();
        EXPECT_EQ(model.step(), Step::HandOver);
    }
}

TEST(OnboardingModel, TheShortFlowsEndOnTheirOwnWithoutMarkingTheFirstRunSeen) {
    {
        Flow flow;
        OnboardingModel& model = flow.open({.approvalOnly = true});
        Count finished(&model, &OnboardingModel::finished);
        flow.probe.answer(capable);
        model.next();
        EXPECT_EQ(model.progress(), -1);
        EXPECT_FALSE(model.canGoBack());
        flow.rig.fake.state = Status::enabled;
        EXPECT_TRUE(spinUntil([&model] { return model.step() == Step::Done; }));
        EXPECT_EQ(finished.count(), 1);
        EXPECT_FALSE(flow.defaults.boolean("onboardingSeen"));
    }
    {
        Flow flow(Status::enabled, /*shadowed=*/true);
        OnboardingModel& model = flow.open({.migrationOnly = true});
        flow.probe.answer(capable);
        ASSERT_TRUE(model.needsMigration());
        EXPECT_FALSE(model.helperReady());
        model.next();
        EXPECT_EQ(model.step(), Step::Service);
        model.migrate();
        EXPECT_EQ(flow.steps.migrations, 1);
        EXPECT_TRUE(spinUntil([&model] { return model.step() == Step::Done; }));
        EXPECT_EQ(flow.defaults.writes, 0);
    }
}

TEST(OnboardingModel, TheInstallerStepEndsOnceEvenWhenTheInstallerFinishesAtOnce) {
    Rig rig(Status::notFound);
    ChargeSettingsModel& settings = rig.make();
    ServiceInstaller installer(settings, ServiceInstaller::Helpers{});
    const auto steps = ServiceSteps::through(installer);
    int ended = 0;
    EXPECT_TRUE(steps->install([&ended] { ++ended; }));
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(settings.serviceError().isEmpty()) << "no unit and no helper: this copy is incomplete";
    EXPECT_TRUE(steps->migrate([&ended] { ++ended; })) << "no migration is due; the step still ends";
    EXPECT_EQ(ended, 2);
}

}  // namespace
}  // namespace torvel::app::testing
