#include <gtest/gtest.h>

#include <QImage>
#include <QSet>
#include <QVariantMap>

#include "battery/battery_monitor.h"
#include "history/history_model.h"
#include "qt_support.h"
#include "shell/torvel_app.h"
#include "ui/ember.h"
#include "ui/panel_model.h"

// fontconfig keeps the patterns of application fonts in caches of its own until the process ends, which
// LeakSanitizer cannot follow; the leaks are neither ours nor Qt's.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

namespace torvel::app {
namespace {

namespace fs = std::filesystem;
using testing::Status;

const fs::path laptop = fs::path(TORVEL_FIXTURES) / "power_supply/laptop_charging";

// The panel's model over a settings rig, a copy of a fixture machine and an empty journal.
struct PanelRig : testing::Rig {
    testing::TempDir machine;
    std::unique_ptr<BatteryMonitor> battery;
    std::unique_ptr<HistoryModel> history;
    std::unique_ptr<PanelModel> panel;

    explicit PanelRig(Status unit = Status::enabled,
                      const char* status = R"("state":"hold","gateVerified":true)")
        : Rig(unit) {
        fs::copy(laptop, machine.path(), fs::copy_options::recursive);
        writeStatus(status);
        make();
    }
    PanelModel& open() {
        battery = std::make_unique<BatteryMonitor>(machine.path(), false);
        history = std::make_unique<HistoryModel>(root.path() / "history", [this] { return now; });
        const PanelModel::Sources sources{
            .loginItem = [] { return LoginItem::Status::enabled; },
            .updater = [] { return UpdaterState{.available = {}, .lastCheck = {}, .automatic = true}; }};
        panel = std::make_unique<PanelModel>(*battery, *settings, *history, SystemLock{}, sources);
        return *panel;
    }
};

TEST(PanelModel, ReadingsShowOnlyWhatCouldBeRead) {
    const std::pair<std::vector<const char*>, QStringList> cases[] = {
        {{}, {"Health=98%", "Temperature=30.1 °C", "Cycles=123"}},
        {{"BAT0/temp"}, {"Health=98%", "Cycles=123"}},
        {{"BAT0/charge_full", "BAT0/charge_full_design"}, {"Temperature=30.1 °C", "Cycles=123"}},
    };
    for (const auto& [removed, expected] : cases) {
        PanelRig rig;
        for (const char* file : removed) fs::remove(rig.machine.path() / file);
        QStringList shown;
        for (const QVariant& figure : rig.open().readings())
            shown << figure.toMap().value("caption").toString() + "=" +
                         figure.toMap().value("value").toString();
        EXPECT_EQ(shown, expected);
    }
}

TEST(PanelModel, TheGaugeKeepsTheLimitWithinTwentyAndAHundredAndSavesOnlyWhenADragEnds) {
    PanelRig rig;
    PanelModel& panel = rig.open();
    const std::pair<int, int> drags[] = {{5, 20}, {19, 20}, {20, 20}, {64, 64}, {100, 100}, {130, 100}};
    for (const auto& [dragged, limit] : drags) {
        panel.dragLimit(dragged);
        EXPECT_EQ(panel.limit(), limit) << dragged;
    }
    EXPECT_TRUE(rig.fake.applies.empty());
    panel.commitLimit();
    ASSERT_EQ(rig.fake.applies.size(), 1u);
    EXPECT_EQ(rig.fake.applies[0].settings.limit, 100);

    panel.stepLimit(+1);
    EXPECT_EQ(rig.fake.applies.size(), 1u) << "a step past the end changes and saves nothing";
    panel.stepLimit(-1);
    EXPECT_EQ(panel.limit(), 99);
    EXPECT_EQ(rig.fake.applies.size(), 1u) << "queued behind the unanswered save";
    rig.fake.applies[0].done(std::nullopt);
    ASSERT_EQ(rig.fake.applies.size(), 2u);
    EXPECT_EQ(rig.fake.applies[1].settings.limit, 99);
}

TEST(PanelModel, TopUpNeedsAReachableService) {
    for (const bool installed : {true, false}) {
        PanelRig rig(installed ? Status::enabled : Status::notRegistered);
        PanelModel& panel = rig.open();
        EXPECT_EQ(panel.topUpEnabled(), installed);
        const QString before = panel.topUpHelp();
        EXPECT_EQ(before, QStringLiteral("Charge to 100% once, then go back to your limit"));
        panel.setTopUp(true);
        EXPECT_EQ(panel.topUp(), installed);
        EXPECT_EQ(rig.fake.applies.size(), installed ? 1u : 0u);
        EXPECT_EQ(panel.topUpHelp(), installed ? QStringLiteral("Back to 80% when you unplug") : before);
    }
}

TEST(PanelModel, TheSparklineWaitsForReadingsAndFollowsTheLimit) {
    for (const int hours : {0, 3}) {
        PanelRig rig;
        fs::create_directories(rig.root.path() / "history");
        std::ofstream day(rig.root.path() / "history" / *HistoryStore::dayFileName(rig.now));
        for (int minute = hours * 60; minute > 0; --minute) {
            day << JournalLine::encode({rig.now - minute * 60.0, 60, ChargeState::allow, true, 30.0}) << "\n";
        }
        day.close();
        PanelModel& panel = rig.open();
        rig.history->reloadToday();
        ASSERT_TRUE(testing::spinUntil([&] { return rig.history->reloadsInFlight() == 0; }));
        EXPECT_EQ(panel.hasSparkline(), hours > 0) << hours;
        EXPECT_EQ(panel.sparkline()->plot().charge.size(), hours > 0 ? 1u : 0u) << hours;
        panel.dragLimit(70);
        EXPECT_EQ(panel.sparkline()->limit(), 70);
    }
}

TEST(PanelModel, HeaderChipAndFooterFollowTheServicesState) {
    // The header line, the chip's tone and word, the footer and the checkup's level.
    const std::tuple<Status, const char*, QStringList> cases[] = {
        {Status::enabled,
         R"("state":"hold","gateVerified":true)",
         {"Held at 80%", "held", "Held", "Service running", "ok"}},
        {Status::notRegistered,
         R"("state":"hold")",
         {"Service to install", "todo", "To do", "One thing to do", "todo"}},
        {Status::enabled,
         R"("state":"hold","gateVerified":false)",
         {"Limit not working", "broken", "Broken", "Something’s wrong", "broken"}},
    };
    for (const auto& [unit, status, texts] : cases) {
        PanelRig rig(unit, status);
        fs::remove(rig.machine.path() / "ADP1/online");
        std::ofstream(rig.machine.path() / "BAT0/capacity") << "80\n";
        PanelModel& panel = rig.open();
        EXPECT_EQ(panel.charge(), 80);
        EXPECT_EQ(QStringList({panel.line(), panel.tone(), panel.toneWord(), panel.footerLine(),
                               panel.checkupLevel()}),
                  texts);
    }
}

TEST(PanelView, RendersOffscreenInBothAppearances) {
    testing::qtApp();
    testing::TempDir root;
    fs::create_directories(root.path() / "var/lib/torvel");
    std::ofstream(root.path() / "var/lib/torvel/status.json")
        << R"({"state":"hold","ts":)" << std::time(nullptr) << "}";
    qputenv("TORVEL_ROOT", QByteArray::fromStdString(root.path().string()));
    qputenv("TORVEL_SYSFS", QByteArray::fromStdString(laptop.string()));
    qputenv("TORVEL_APPEARANCE", "light");

    TorvelApp app({.switches = {}, .dark = false, .watchDevices = false, .useTray = false});
    const QString light = QString::fromStdString((root.path() / "light.png").string());
    const QString dark = QString::fromStdString((root.path() / "dark.png").string());
    ASSERT_EQ(app.screenshotPanel(light), std::nullopt);
    app.ember().setDark(true);
    ASSERT_EQ(app.screenshotPanel(dark), std::nullopt);

    for (const auto& [file, background] :
         {std::pair{light, Ember().screen()}, std::pair{dark, app.ember().screen()}}) {
        const QImage image(file);
        ASSERT_FALSE(image.isNull()) << file.toStdString();
        EXPECT_EQ(image.width() / image.devicePixelRatio(), 340);
        EXPECT_GT(image.height(), 300);
        EXPECT_EQ(image.pixelColor(2, 2).rgb(), background.rgb());
        // A blank or single-colour render has one or two coarse colours; text, gauge and chip make many.
        QSet<QRgb> coarse;
        bool ember = false;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                ember = ember || (c.red() > 200 && c.green() > 110 && c.green() < 170 && c.blue() < 110);
                if (x % 3 == 0 && y % 3 == 0) coarse.insert(c.rgb() & 0xF0F0F0);
            }
        }
        EXPECT_GT(coarse.size(), 40) << file.toStdString();
        EXPECT_TRUE(ember) << file.toStdString() << ": the gauge's ember fill is there";
    }
    qunsetenv("TORVEL_ROOT");
    qunsetenv("TORVEL_SYSFS");
    qunsetenv("TORVEL_APPEARANCE");
}

}  // namespace
}  // namespace torvel::app
