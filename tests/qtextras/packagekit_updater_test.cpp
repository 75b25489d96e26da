#include <gtest/gtest.h>

#include "extras/updater_model.h"
#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app {
namespace {

using namespace testing;
using namespace std::chrono_literals;

const QByteArray ours = "torvel;1.3.0-1;amd64;bookworm-torvel";

std::string problem(UpdateProblem which) {
    return UpdateActionWords::problem(which);
}

// An updater running 1.2, installed from a repository, against PackageKit on a bus of the test's own.
struct Rig {
    PrivateBus bus;
    std::optional<MockPackageKit> packageKit;
    QTemporaryDir dir;
    std::unique_ptr<UpdaterModel> updater;

    // Without parameters nothing owns PackageKit's name.
    explicit Rig(std::optional<QByteArray> parameters) {
        qtApp();
        EXPECT_TRUE(bus.running());
        if (parameters) {
            EXPECT_TRUE(packageKit.emplace(bus, *parameters).up());
        }
        updater = std::make_unique<UpdaterModel>(
            UpdaterModel::Config{.feed = {},
                                 .publicKey = {},
                                 .runningVersion = QStringLiteral("1.2"),
                                 .timeout = 1s,
                                 .deadline = 1s,
                                 .settingsFile = dir.filePath(QStringLiteral("Torvel.conf")),
                                 .downloadDirectory = dir.path(),
                                 .systemBus = bus.connect(QStringLiteral("app")),
                                 .clock = [] { return Instant{1'763'900'000}; },
                                 .source = UpdateSource::repository,
                                 .installDeadline = 5s});
    }

    UpdaterModel& checked() {
        updater->checkNow();
        EXPECT_EQ(updater->checkTitle(), QStringLiteral("Checking"));
        EXPECT_TRUE(spinUntil([&] { return !updater->checking(); }));
        return *updater;
    }
};

TEST(PackageKitUpdater, CheckFindsTorvelsUpdateNothingOrSaysWhyNot) {
    struct Case {
        const char* what;
        std::optional<QByteArray> parameters;
        const char* shortText;
        std::string error;
        QString detail;
    };
    const Case cases[] = {
        {"only other packages",
         R"({"updates": ["torvelctl-extra;9;amd64;x", "libc6;2.36-10;amd64;x"]})",
         "Up to date",
         {},
         {}},
        {"the newest of ours",
         R"({"updates": ["torvel;1.2.5-1;amd64;x", ")" + ours + R"("]})",
         "1.3.0 available",
         {},
         {}},
        {"an error", R"({"error": [33, "Repository bookworm-torvel is not available"]})", "Couldn’t check",
         problem(UpdateProblem::checkFailed), "Repository bookworm-torvel is not available"},
        {"no answer", R"({"hang": true})", "Couldn’t check", problem(UpdateProblem::tooSlow), {}},
        {"no PackageKit", std::nullopt, "Couldn’t check", problem(UpdateProblem::packageKitMissing), {}},
    };
    for (const auto& c : cases) {
        Rig rig(c.parameters);
        auto& updater = rig.checked();
        EXPECT_EQ(updater.shortText(), QString::fromUtf8(c.shortText)) << c.what;
        EXPECT_EQ(updater.error().toStdString(), c.error) << c.what;
        // A missing service or the deadline has the bus's own words, or none, beneath the sentence.
        if (!c.detail.isEmpty() || c.error.empty()) {
            EXPECT_EQ(updater.errorDetail(), c.detail) << c.what;
        }
        EXPECT_EQ(updater.canInstall(), c.error.empty() && updater.shortText() != "Up to date") << c.what;
        EXPECT_EQ(updater.checkTitle(), QStringLiteral("Check")) << c.what;
    }
}

TEST(PackageKitUpdater, TheAutomaticSwitchIsKeptAndStartsACheckThatIsDue) {
    Rig rig(R"({"updates": [")" + ours + R"("]})");
    auto& updater = *rig.updater;
    EXPECT_EQ(updater.shortText(), QStringLiteral("Checking is off"));
    updater.setAutomatic(true);
    EXPECT_TRUE(updater.checking());
    EXPECT_TRUE(spinUntil([&] { return !updater.checking(); }));
    EXPECT_EQ(updater.status(), QStringLiteral("Version 1.3.0 is available"));

    // What the checkup reads, and what the next start finds.
    const auto saved = [&] {
        QFile file(rig.dir.filePath(QStringLiteral("Torvel.conf")));
        return UpdaterState::fromSettings(file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "");
    };
    EXPECT_EQ(saved(), (UpdaterState{.available = "1.3.0",
                                     .critical = false,
                                     .checking = false,
                                     .lastCheck = 1'763'900'000,
                                     .unreachable = false,
                                     .automatic = true}));
    updater.setAutomatic(false);
    EXPECT_FALSE(saved().automatic);
    EXPECT_FALSE(updater.checking());
}

TEST(PackageKitUpdater, InstallsTheUpdateFoundOrSaysWhyNot) {
    struct Case {
        const char* install;
        std::string error;
        QString detail;
    };
    const Case cases[] = {
        {R"("success")", {}, {}},
        {R"([48, "Failed to obtain authentication."])", problem(UpdateProblem::notAllowed),
         "Failed to obtain authentication."},
        {R"([29, "dpkg exited with status 1"])", problem(UpdateProblem::installFailed),
         "dpkg exited with status 1"},
    };
    for (const auto& c : cases) {
        Rig rig(R"({"updates": [")" + ours + R"("], "install": )" + c.install + "}");
        auto& updater = rig.checked();
        QStringList notes;
        QObject::connect(&updater, &UpdaterModel::noteChanged, [&] { notes << updater.note(); });
        int installed = 0;
        QObject::connect(&updater, &UpdaterModel::installed, [&installed] { ++installed; });
        updater.install();
        EXPECT_EQ(updater.installTitle(), QStringLiteral("Installing"));
        EXPECT_TRUE(spinUntil([&] { return !updater.installing(); }));

        EXPECT_EQ(updater.error().toStdString(), c.error) << c.install;
        EXPECT_EQ(updater.errorDetail(), c.detail) << c.install;
        EXPECT_EQ(installed, c.error.empty() ? 1 : 0) << c.install;
        // A failed installation leaves the update there to try again.
        EXPECT_EQ(updater.canInstall(), !c.error.empty()) << c.install;
        if (c.error.empty()) {
            EXPECT_EQ(notes,
                      (QStringList{"Installing the update…", "Installing the update: 40% done.",
                                   "Torvel 1.3.0 is installed. It takes over the next time Torvel starts."}));
        }
    }
}

}  // namespace
}  // namespace torvel::app
