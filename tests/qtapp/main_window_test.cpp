#include "shell/main_window.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QSettings>
#include <ctime>

#include "qt_support.h"
#include "shell/torvel_app.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;

// A render with text, cards and controls has many coarse colours; a blank or failed one has one or two.
int coarseColours(const QImage& image) {
    QSet<QRgb> coarse;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) coarse.insert(image.pixel(x, y) & 0xF0F0F0);
    }
    return static_cast<int>(coarse.size());
}

// The whole app over a temporary data directory with a fresh status, a fixture battery and the service
// taken as installed.
struct AppRig {
    testing::TempDir root;
    std::unique_ptr<TorvelApp> app;

    explicit AppRig(std::optional<QRect> savedGeometry = std::nullopt) {
        testing::qtApp();
        fs::create_directories(root.path() / "var/lib/torvel");
        std::ofstream(root.path() / "var/lib/torvel/status.json")
            << R"({"state":"hold","ts":)" << std::time(nullptr) << "}";
        qputenv("TORVEL_ROOT", QByteArray::fromStdString(root.path().string()));
        qputenv("TORVEL_SYSFS", TORVEL_FIXTURES "/power_supply/laptop_charging");
        qputenv("TORVEL_APPEARANCE", "light");
        qputenv("TORVEL_UNIT_STATE", "enabled");
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((root.path() / "config").string()));
        if (savedGeometry) QSettings().setValue(QStringLiteral("TorvelMainWindow/geometry"), *savedGeometry);
        app = std::make_unique<TorvelApp>(
            TorvelApp::Options{.switches = {}, .dark = false, .watchDevices = false, .useTray = false});
    }
    ~AppRig() {
        app.reset();
        QSettings().remove(QStringLiteral("TorvelMainWindow"));
        for (const char* name :
             {"TORVEL_ROOT", "TORVEL_SYSFS", "TORVEL_APPEARANCE", "TORVEL_UNIT_STATE", "XDG_CONFIG_HOME"})
            qunsetenv(name);
    }
};

TEST(MainWindow, CountsAsOneLiveWatcherHoweverOftenOpenedAndLetsGoWhenClosed) {
    AppRig rig;
    ChargeSettings& settings = rig.app->settings();
    TorvelWindowController& windows = rig.app->windows();
    const int before = settings.liveWatchers();

    ASSERT_TRUE(windows.show(AppSection::settings));
    ASSERT_TRUE(windows.show(AppSection::mac));
    EXPECT_EQ(settings.liveWatchers(), before + 1);
    EXPECT_EQ(settings.pollInterval(), ChargeSettings::livePollInterval);

    QQuickWindow* window = windows.window();
    EXPECT_EQ(window->title(), "Torvel · This Mac");
    EXPECT_EQ(window->minimumSize(), QSize(820, 560));
    EXPECT_EQ(window->size(), QSize(900, 640));
    windows.route().setSection(AppSection::memory);
    EXPECT_EQ(window->title(), "Torvel · Long memory");

    window->close();
    ASSERT_TRUE(testing::spinUntil([&] { return !windows.windowIsLive(); }));
    EXPECT_EQ(settings.liveWatchers(), before);
    EXPECT_EQ(settings.pollInterval(), ChargeSettings::idlePollInterval);

    // Back again: one watcher more, not two.
    ASSERT_TRUE(windows.show(AppSection::today));
    EXPECT_EQ(settings.liveWatchers(), before + 1);
}

TEST(MainWindow, ReopensWhereItWasLeftButNeverBelowItsMinimum) {
    const std::pair<QRect, QRect> cases[] = {
        {QRect(10, 20, 850, 580), QRect(10, 20, 850, 580)},
        {QRect(10, 20, 400, 300), QRect(10, 20, 820, 560)},
    };
    for (const auto& [saved, opened] : cases) {
        AppRig rig(saved);
        ASSERT_TRUE(rig.app->windows().show(AppSection::settings));
        EXPECT_EQ(rig.app->windows().window()->geometry(), opened);
    }
}

TEST(MainWindow, RendersEverySectionOffscreen) {
    AppRig rig;
    const fs::path shots = rig.root.path() / "shots";
    fs::create_directories(shots);
    for (const auto section : AppSection::all) {
        const QString file =
            QString::fromStdString((shots / AppSection(section).rawValue()).string() + ".png");
        ASSERT_EQ(rig.app->screenshotSection(file, section), std::nullopt) << AppSection(section).rawValue();
        const QImage image(file);
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.width() / image.devicePixelRatio(), 900);
        EXPECT_EQ(image.height() / image.devicePixelRatio(), 640);
        EXPECT_GT(coarseColours(image), 25) << AppSection(section).rawValue();
        auto* page = rig.app->windows().window()->findChild<QQuickItem*>(QStringLiteral("page"));
        ASSERT_NE(page, nullptr);
        EXPECT_GT(page->height(), 150) << AppSection(section).rawValue() << ": the page has content";
    }
}

// QML faults surface only when a view is made; every block of the design system is made once here, with the
// singletons it names, so a typo in one that no page uses yet still fails a test.
TEST(DesignSystem, EveryBlockLoadsWithoutErrors) {
    AppRig rig;
    ASSERT_TRUE(rig.app->windows().show(AppSection::today));
    QQmlEngine* engine = qmlEngine(rig.app->windows().window());
    ASSERT_NE(engine, nullptr);
    for (const char* block :
         {"EmberButton", "EmberSegmented", "AdviceSegmented", "PopChoice", "PageHeader", "SettingsCard",
          "DisclosureCard", "SettingsRow", "RowDivider", "InfoRow", "NoteCard", "SubPage", "SettingCard",
          "StripCell", "RestingBar", "RollingDigits"}) {
        QQmlComponent component(engine, QUrl(QStringLiteral("qrc:/Torvel/%1.qml").arg(QLatin1String(block))));
        std::unique_ptr<QObject> made(component.create());
        EXPECT_NE(made, nullptr) << block << ": " << component.errorString().toStdString();
    }
}

}  // namespace
}  // namespace torvel::app
