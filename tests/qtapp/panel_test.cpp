#include <gtest/gtest.h>

#include <QImage>
#include <QSet>
#include <QVariantMap>
#include <fstream>

#include "battery/battery_monitor.h"
#include "history/history_model.h"
#include "settings_rig.h"
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
using testing::Rig;
using testing::Status;

const fs::path machines = fs::path(TORVEL_FIXTURES) / "power_supply";

// The panel's model over a settings rig, a copy of a fixture machine and an empty journal.
struct PanelRig : Rig {
    testing::TempDir machine;
    std::unique_ptr<BatteryMonitor> battery;
    std::unique_ptr<HistoryModel> history;
    std::unique_ptr<PanelModel> panel;

    explicit PanelRig(Status unit = Status::enabled,
                      const char* status = R"("state":"hold","gateVerified":true)") {
        units.state = unit;
        fs::copy(machines / "laptop_charging", machine.path(), fs::copy_options::recursive);
        writeStatus(status);
        make();
    }
    PanelModel& open() {
        battery = std::make_unique<BatteryMonitor>(machine.path(), false);
        history = std::make_unique<HistoryModel>(root.path() / "history", [this] { return now; });
        const PanelModel::Sources sources{.loginItem = [] { return LoginItem::Status::enabled; },
                                          .updater =
                                              [] {
                                                  UpdaterState updates;
                                                  updates.automatic = true;
                                                  return updates;
                                              }};
        panel = std::make_unique<PanelModel>(*battery, *settings, *history, SystemLock{}, sources);
        return *panel;
    }
};

QStringList captions(const PanelModel& panel) {
    QStringList out;
    for (const QVariant& figure : panel.readings()) {
        const QVariantMap map = figure.toMap();
        out << map.value("caption").toString() + "=" + map.value("value").toString();
    }
    return out;
}

TEST(PanelModel, ReadingsShowOnlyWhatCouldBeRead) {
    struct Case {
        const char* name;
        std::vector<const char*> removed;
        QStringList expected;
    };
    const Case cases[] = {
        {"everything", {}, {"Health=98%", "Temperature=30.1 °C", "Cycles=123"}},
        {"no temperature", {"BAT0/temp"}, {"Health=98%", "Cycles=123"}},
        {"no capacities",
         {"BAT0/charge_full", "BAT0/charge_full_design"},
         {"Temperature=30.1 °C", "Cycles=123"}},
    };
    for (const Case& c : cases) {
        PanelRig rig;
        for (const char* file : c.removed) fs::remove(rig.machine.path() / file);
        EXPECT_EQ(captions(rig.open()), c.expected) << c.name;
    }
}

TEST(PanelModel, TheGaugeKeepsTheLimitWithinTwentyAndAHundred) {
    PanelRig rig;
    PanelModel& panel = rig.open();
    struct Case {
        int dragged;
        int limit;
    };
    for (const Case c :
         {Case{5, 20}, Case{19, 20}, Case{20, 20}, Case{64, 64}, Case{100, 100}, Case{130, 100}}) {
        panel.dragLimit(c.dragged);
        EXPECT_EQ(panel.limit(), c.limit) << c.dragged;
    }
    EXPECT_TRUE(rig.calls.applies.empty()) << "dragging saves only when it ends";
    panel.commitLimit();
    ASSERT_EQ(rig.calls.applies.size(), 1u);
    EXPECT_EQ(rig.calls.applies[0].settings.limit, 100);

    panel.stepLimit(+1);
    EXPECT_EQ(rig.calls.applies.size(), 1u) << "a step past the end changes and saves nothing";
    panel.stepLimit(-1);
    EXPECT_EQ(panel.limit(), 99);
    EXPECT_EQ(rig.calls.applies.size(), 1u) << "queued behind the unanswered save";
    rig.calls.applies[0].done(std::nullopt);
    ASSERT_EQ(rig.calls.applies.size(), 2u);
    EXPECT_EQ(rig.calls.applies[1].settings.limit, 99);
}

TEST(PanelModel, TopUpNeedsAReachableService) {
    struct Case {
        const char* name;
        Status unit;
        bool enabled;
    };
    for (const Case c :
         {Case{"installed", Status::enabled, true}, Case{"not installed", Status::notRegistered, false}}) {
        PanelRig rig(c.unit);
        PanelModel& panel = rig.open();
        EXPECT_EQ(panel.topUpEnabled(), c.enabled) << c.name;
        EXPECT_EQ(panel.topUpHelp(), QStringLiteral("Charge to 100% once, then go back to your limit"));
        panel.setTopUp(true);
        EXPECT_EQ(panel.topUp(), c.enabled) << c.name;
        EXPECT_EQ(rig.calls.applies.size(), c.enabled ? 1u : 0u) << c.name;
        if (c.enabled) {
            EXPECT_EQ(panel.topUpHelp(), QStringLiteral("Back to 80% when you unplug"));
        }
    }
}

TEST(PanelModel, HeaderChipAndFooterFollowTheServicesState) {
    struct Case {
        const char* name;
        Status unit;
        const char* status;
        QString line;
        QString tone;
        QString toneWord;
        QString footer;
        QString level;
    };
    const Case cases[] = {
        {"holding", Status::enabled, R"("state":"hold","gateVerified":true)", "Held at 80%", "held", "Held",
         "Service running", "ok"},
        {"not installed", Status::notRegistered, R"("state":"hold")", "Service to install", "todo", "To do",
         "One thing to do", "todo"},
        {"limit failing", Status::enabled, R"("state":"hold","gateVerified":false)", "Limit not working",
         "broken", "Broken", "Something’s wrong", "broken"},
    };
    for (const Case& c : cases) {
        PanelRig rig(c.unit, c.status);
        fs::remove(rig.machine.path() / "ADP1/online");
        std::ofstream(rig.machine.path() / "BAT0/capacity") << "80\n";
        PanelModel& panel = rig.open();
        EXPECT_EQ(panel.charge(), 80) << c.name;
        EXPECT_EQ(panel.line(), c.line) << c.name;
        EXPECT_EQ(panel.tone(), c.tone) << c.name;
        EXPECT_EQ(panel.toneWord(), c.toneWord) << c.name;
        EXPECT_EQ(panel.footerLine(), c.footer) << c.name;
        EXPECT_EQ(panel.checkupLevel(), c.level) << c.name;
    }
}

// Distinct colours in the image, coarsely: a blank or single-colour render has one or two.
int colourCount(const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) colours.insert(image.pixel(x, y) & 0xF0F0F0);
    }
    return static_cast<int>(colours.size());
}

bool hasEmberPixel(const QImage& image) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > 200 && c.green() > 110 && c.green() < 170 && c.blue() < 110) return true;
        }
    }
    return false;
}

TEST(PanelView, RendersOffscreenInBothAppearances) {
    testing::qtApp();
    testing::TempDir root;
    fs::create_directories(root.path() / "var/lib/torvel");
    std::ofstream(root.path() / "var/lib/torvel/status.json")
        << R"({"state":"hold","ts":)" << std::time(nullptr) << "}";
    qputenv("TORVEL_ROOT", QByteArray::fromStdString(root.path().string()));
    qputenv("TORVEL_SYSFS", QByteArray::fromStdString((machines / "laptop_charging").string()));
    qputenv("TORVEL_APPEARANCE", "light");

    TorvelApp app({.switches = {}, .dark = false, .watchDevices = false, .useTray = false});
    const fs::path light = root.path() / "light.png";
    const fs::path dark = root.path() / "dark.png";
    ASSERT_EQ(app.screenshotPanel(QString::fromStdString(light.string())), std::nullopt);
    app.ember().setDark(true);
    ASSERT_EQ(app.screenshotPanel(QString::fromStdString(dark.string())), std::nullopt);

    for (const auto& [file, background] :
         {std::pair{light, Ember().screen()}, std::pair{dark, app.ember().screen()}}) {
        const QImage image(QString::fromStdString(file.string()));
        ASSERT_FALSE(image.isNull()) << file;
        EXPECT_EQ(image.width() / image.devicePixelRatio(), 340) << file;
        EXPECT_GT(image.height(), 300) << file;
        EXPECT_GT(colourCount(image), 40) << file << ": text, gauge and chip were drawn";
        EXPECT_TRUE(hasEmberPixel(image)) << file << ": the gauge's ember fill is there";
        EXPECT_EQ(image.pixelColor(2, 2).rgb(), background.rgb()) << file;
    }
    qunsetenv("TORVEL_ROOT");
    qunsetenv("TORVEL_SYSFS");
    qunsetenv("TORVEL_APPEARANCE");
}

}  // namespace
}  // namespace torvel::app
