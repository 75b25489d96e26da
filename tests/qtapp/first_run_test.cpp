#include <gtest/gtest.h>

#include <QImage>
#include <QKeyEvent>
#include <QSet>
#include <ctime>

#include "onboarding/onboarding_window.h"
#include "qt_support.h"
#include "shell/torvel_app.h"

namespace torvel::app::testing {
namespace {

// The whole app over a temporary data directory, the fixture battery and the service taken as installed.
struct AppRig {
    TempDir root;
    std::unique_ptr<TorvelApp> app;

    // `shadowed`: an install helper's unit hides the package's, running another daemon.
    explicit AppRig(bool shadowed = false) {
        qtApp();
        fs::create_directories(root.path() / "var/lib/torvel");
        std::ofstream(root.path() / "var/lib/torvel/status.json")
            << R"({"state":"hold","ts":)" << std::time(nullptr) << "}";
        if (shadowed) {
            fs::create_directories(root.path() / "usr/lib/systemd/system");
            fs::create_directories(root.path() / "etc/systemd/system");
            std::ofstream(root.path() / "usr/lib/systemd/system/torvel-daemon.service")
                << "[Service]\nExecStart=/usr/libexec/torvel/torvel-daemon\n";
            std::ofstream(root.path() / "etc/systemd/system/torvel-daemon.service")
                << "[Service]\nExecStart=/usr/local/libexec/torvel/torvel-daemon\n";
        }
        qputenv("TORVEL_ROOT", QByteArray::fromStdString(root.path().string()));
        qputenv("TORVEL_SYSFS", TORVEL_FIXTURES "/power_supply/laptop_charging");
        qputenv("TORVEL_APPEARANCE", "dark");
        qputenv("TORVEL_UNIT_STATE", "enabled");
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((root.path() / "config").string()));
        app = std::make_unique<TorvelApp>(
            TorvelApp::Options{.switches = {}, .dark = false, .watchDevices = false, .useTray = false});
    }
    ~AppRig() {
        app.reset();
        for (const char* name :
             {"TORVEL_ROOT", "TORVEL_SYSFS", "TORVEL_APPEARANCE", "TORVEL_UNIT_STATE", "XDG_CONFIG_HOME"})
            qunsetenv(name);
    }
};

// A render with text, cards and controls has many coarse colours; a blank or failed one has one or two.
int coarseColours(const QImage& image) {
    QSet<QRgb> coarse;
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = 0; x < image.width(); x += 2) coarse.insert(image.pixel(x, y) & 0xF0F0F0);
    }
    return static_cast<int>(coarse.size());
}

TEST(FirstRunViews, EveryOnboardingScreenAndTheArrivalRenderOffscreen) {
    AppRig rig;
    const fs::path root = rig.root.path();
    TorvelApp& app = *rig.app;
    for (const char* step : {"checking", "welcome", "service", "awaitingApproval", "installFailed",
                             "handOver", "tuning", "done", "unsupported", "probeFailed"}) {
        SCOPED_TRACE(step);
        const QString file = QString::fromStdString((root / step).string()) + ".png";
        const auto error = app.screenshotOnboarding(file, QString::fromUtf8(step));
        ASSERT_FALSE(error) << error->toStdString();
        EXPECT_EQ(app.onboarding().model()->stepName(), QString::fromUtf8(step));
        EXPECT_GT(coarseColours(QImage(file)), 12);
    }
    EXPECT_TRUE(app.screenshotOnboarding(QStringLiteral("x.png"), QStringLiteral("nowhere")));

    // Return goes on and Escape goes back, from the keyboard alone; the service is already running here.
    OnboardingModel& model = *app.onboarding().model();
    model.preview(OnboardingFlow::Step::welcome({}));
    const auto press = [&app](int key) {
        QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(app.onboarding().window(), &down);
    };
    press(Qt::Key_Return);
    EXPECT_EQ(model.step(), OnboardingModel::Step::HandOver);
    press(Qt::Key_Escape);
    EXPECT_EQ(model.step(), OnboardingModel::Step::Welcome);
    // Finish shows the last screen; only its Close closes the window.
    model.preview(OnboardingFlow::Step::plain(OnboardingFlow::Step::Kind::tuning));
    press(Qt::Key_Return);
    EXPECT_EQ(model.step(), OnboardingModel::Step::Done);
    EXPECT_TRUE(app.onboarding().visible());

    const QString arrival = QString::fromStdString((root / "arrival.png").string());
    ASSERT_FALSE(app.screenshotArrival(arrival));
    EXPECT_GT(coarseColours(QImage(arrival)), 6);
}

TEST(FirstRunViews, AServiceToReplaceOpensItsOwnFlowUntilTheUserClosesIt) {
    AppRig rig(/*shadowed=*/true);
    OnboardingWindowController& onboarding = rig.app->onboarding();
    ASSERT_TRUE(rig.app->settings().serviceNeedsMigration());
    onboarding.syncMigration();
    ASSERT_TRUE(onboarding.visible());
    EXPECT_TRUE(onboarding.model()->migrationOnly());
    EXPECT_EQ(onboarding.model()->progress(), -1);

    onboarding.window()->close();
    spinUntil([&onboarding] { return onboarding.model() == nullptr; });
    onboarding.syncMigration();
    EXPECT_FALSE(onboarding.visible()) << "closed once, it is not pushed again";
    onboarding.review();
    EXPECT_TRUE(onboarding.visible()) << "the user can still open the flow";
    EXPECT_TRUE(onboarding.model()->review());
}

}  // namespace
}  // namespace torvel::app::testing
