#include <gtest/gtest.h>

#include <QImage>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QSet>
#include <QVariantMap>

#include "battery/battery_monitor.h"
#include "history/history_model.h"
#include "qt_support.h"
#include "shell/torvel_app.h"
#include "ui/ember.h"
#include "ui/looks.h"
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

// Counts, by property name, the change announcements an object makes.
class Announcements : public QObject {
    Q_OBJECT
  public:
    explicit Announcements(QObject& watched) : watched_(watched) {
        const QMetaObject& meta = *watched.metaObject();
        const QMetaMethod hit = staticMetaObject.method(staticMetaObject.indexOfSlot("hit()"));
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            if (meta.property(i).hasNotifySignal())
                connect(&watched, meta.property(i).notifySignal(), this, hit);
        }
    }
    // What was announced since the last call.
    std::map<std::string, int> take() { return std::exchange(counts_, {}); }

  private slots:
    void hit() {
        const QMetaObject& meta = *watched_.metaObject();
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            if (meta.property(i).notifySignalIndex() == senderSignalIndex())
                ++counts_[meta.property(i).name()];
        }
    }

  private:
    QObject& watched_;
    std::map<std::string, int> counts_;
};

TEST(PanelModel, ReadingsFollowWhatTheBatteryReports) {
    PanelRig rig;
    PanelModel& panel = rig.open();
    EXPECT_EQ(panel.readings().size(), 3);
    Announcements announced(panel);
    fs::remove(rig.machine.path() / "BAT0/temp");
    rig.battery->refresh();
    EXPECT_EQ(announced.take(), (std::map<std::string, int>{{"readings", 1}}));
    EXPECT_EQ(panel.readings().size(), 2);
}

// Each property announces itself only when it moved: a status read that brought nothing new wakes nothing,
// a limit step moves the limit and what is made from it, once each.
TEST(PanelModel, APropertyAnnouncesOnlyItsOwnMoves) {
    PanelRig rig;
    PanelModel& panel = rig.open();
    Announcements announced(panel);
    rig.settings->refreshStatus();
    rig.battery->refresh();
    EXPECT_EQ(announced.take(), (std::map<std::string, int>{}));
    panel.stepLimit(-1);
    EXPECT_EQ(announced.take(),
              (std::map<std::string, int>{{"heldLimit", 1}, {"limit", 1}, {"limitText", 1}, {"line", 1}}));
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
        panel.setTopUp(true);
        EXPECT_EQ(panel.topUp(), installed);
        EXPECT_EQ(rig.fake.applies.size(), installed ? 1u : 0u);
        EXPECT_EQ(panel.topUpHelp() != before, installed);
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
    // The header line, the chip's word and the footer, as core words them; the
    // tones as the views colour them.
    const std::tuple<Status, const char*, QStringList, std::array<int, 3>> cases[] = {
        {Status::enabled,
         R"("state":"hold","gateVerified":true)",
         {"Held at 80%", "Held", "Service running"},
         {Looks::Good, Looks::Good, Looks::Quiet}},
        {Status::notRegistered,
         R"("state":"hold")",
         {"Service to install", "To do", "One thing to do →"},
         {Looks::Todo, Looks::Todo, Looks::Todo}},
        {Status::enabled,
         R"("state":"hold","gateVerified":false)",
         {"Limit not working", "Broken", "Something’s wrong →"},
         {Looks::Broken, Looks::Broken, Looks::Broken}},
    };
    for (const auto& [unit, status, texts, looks] : cases) {
        PanelRig rig(unit, status);
        fs::remove(rig.machine.path() / "ADP1/online");
        std::ofstream(rig.machine.path() / "BAT0/capacity") << "80\n";
        PanelModel& panel = rig.open();
        EXPECT_EQ(panel.charge(), 80);
        EXPECT_EQ(QStringList({panel.line(), panel.toneWord(), panel.footerLine()}), texts);
        EXPECT_EQ((std::array{panel.toneLook(), panel.levelLook(), panel.footerLook()}), looks);
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
        // A blank or single-colour render has one or two coarse colours; text,
        // gauge and chip make many.
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

#include "panel_test.moc"
