#include "extras/charge_arrival.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QSet>
#include <ctime>

#include "battery/battery_monitor.h"
#include "onboarding/onboarding_window.h"
#include "qt_support.h"
#include "shell/torvel_app.h"

namespace torvel::app::testing {
namespace {

// The fixture battery is at 57% and charging.
struct ArrivalRig {
    Rig rig;
    BatteryMonitor battery{TORVEL_FIXTURES "/power_supply/laptop_charging", false};
    double now = 1000;
    bool screen = true;
    std::vector<std::optional<QString>> shown;
    std::unique_ptr<ChargeArrivalController> controller;

    explicit ArrivalRig(bool withSettings = true) {
        rig.make();
        controller = std::make_unique<ChargeArrivalController>(ChargeArrivalController::Sources{
            .battery = &battery,
            .settings = withSettings ? rig.settings.get() : nullptr,
            .lock = {},
            .clock = [this] { return now; },
            .screenAvailable = [this] { return screen; },
            .present = [this](const std::optional<QString>& label) { shown.push_back(label); },
            .visibleFor = std::chrono::milliseconds(0),
        });
        controller->activate();
    }
    // Lets the overlay's end of showing run.
    void settle() {
        spinUntil([this] { return !controller->state().showing; });
    }
};

TEST(ChargeArrivalController, PlugInsWithinTheCooldownShowOnceAndNoScreenShowsNothing) {
    const struct {
        double at;
        bool screen;
        bool shows;
    } plugIns[] = {
        {1000, true, true},   {1005, true, false}, {1011, true, true},
        {1030, false, false}, {1031, true, true},  {1035, true, false},
    };
    ArrivalRig arrival;
    std::size_t expected = 0;
    for (const auto& plugIn : plugIns) {
        SCOPED_TRACE(plugIn.at);
        arrival.now = plugIn.at;
        arrival.screen = plugIn.screen;
        emit arrival.battery.pluggedIn();
        if (plugIn.shows) ++expected;
        EXPECT_EQ(arrival.shown.size(), expected);
        arrival.settle();
    }
    // Asked for by name, it shows whatever the cooldown says.
    arrival.controller->flashNow();
    EXPECT_EQ(arrival.shown.size(), expected + 1);
}

TEST(ChargeArrivalController, TheLabelPointsAtTheLimitOnlyWhileTheChargeIsBelowIt) {
    const struct {
        bool withSettings;
        bool enabled;
        int limit;
        const char* label;
    } cases[] = {
        {true, true, 80, "57% → 80%"},
        {true, false, 80, "57%"},
        {true, true, 50, "57%"},
        {false, true, 80, "57%"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        ArrivalRig arrival(c.withSettings);
        arrival.rig.settings->change([&c](Settings& settings) {
            settings.enabled = c.enabled;
            settings.limit = c.limit;
        });
        arrival.battery.refresh();
        arrival.controller->flashNow();
        ASSERT_EQ(arrival.shown.size(), 1u);
        EXPECT_EQ(arrival.shown.front(), QString::fromUtf8(c.label));
    }
}

// A render with text, cards and controls has many coarse colours; a blank or failed one has one or two.
int coarseColours(const QImage& image) {
    QSet<QRgb> coarse;
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = 0; x < image.width(); x += 2) coarse.insert(image.pixel(x, y) & 0xF0F0F0);
    }
    return static_cast<int>(coarse.size());
}

TEST(FirstRunViews, EveryOnboardingScreenAndTheArrivalRenderOffscreen) {
    TempDir root;
    qtApp();
    fs::create_directories(root.path() / "var/lib/torvel");
    std::ofstream(root.path() / "var/lib/torvel/status.json")
        << R"({"state":"hold","ts":)" << std::time(nullptr) << "}";
    qputenv("TORVEL_ROOT", QByteArray::fromStdString(root.path().string()));
    qputenv("TORVEL_SYSFS", TORVEL_FIXTURES "/power_supply/laptop_charging");
    qputenv("TORVEL_APPEARANCE", "dark");
    qputenv("TORVEL_UNIT_STATE", "enabled");
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((root.path() / "config").string()));
    {
        TorvelApp app(
            TorvelApp::Options{.switches = {}, .dark = false, .watchDevices = false, .useTray = false});
        for (const char* step : {"checking", "welcome", "service", "awaitingApproval", "installFailed",
                                 "handOver", "tuning", "done", "unsupported", "probeFailed"}) {
            SCOPED_TRACE(step);
            const QString file = QString::fromStdString((root.path() / step).string()) + ".png";
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

        const QString arrival = QString::fromStdString((root.path() / "arrival.png").string());
        ASSERT_FALSE(app.screenshotArrival(arrival));
        EXPECT_GT(coarseColours(QImage(arrival)), 6);
    }
    for (const char* name :
         {"TORVEL_ROOT", "TORVEL_SYSFS", "TORVEL_APPEARANCE", "TORVEL_UNIT_STATE", "XDG_CONFIG_HOME"})
        qunsetenv(name);
}

}  // namespace
}  // namespace torvel::app::testing
