#include "shell/main_window.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QSettings>
#include <ctime>

#include "generator.h"
#include "history/history_model.h"
#include "history/journal_page_model.h"
#include "qt_support.h"
#include "shell/torvel_app.h"
#include "ui/calibration_model.h"

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

    // `statusFields` join the status file's fresh state and time.
    explicit AppRig(std::optional<QRect> savedGeometry = std::nullopt, int journalDays = 0,
                    const std::string& statusFields = {}) {
        testing::qtApp();
        fs::create_directories(root.path() / "var/lib/torvel");
        std::ofstream(root.path() / "var/lib/torvel/status.json")
            << R"({"state":"hold","ts":)" << std::time(nullptr) << statusFields << "}";
        if (journalDays > 0) {
            const auto written = tools::writeJournal(
                root.path() / "var/lib/torvel/history",
                {.seed = 3, .lastDay = static_cast<double>(std::time(nullptr)), .days = journalDays});
            EXPECT_TRUE(std::holds_alternative<std::int64_t>(written));
        }
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
    ChargeSettingsModel& settings = rig.app->settings();
    TorvelWindowController& windows = rig.app->windows();
    const int before = settings.liveWatchers();

    ASSERT_TRUE(windows.show(AppSection::settings));
    ASSERT_TRUE(windows.show(AppSection::mac));
    EXPECT_EQ(settings.liveWatchers(), before + 1);
    EXPECT_EQ(settings.pollInterval(), ChargeSettingsModel::livePollInterval);

    QQuickWindow* window = windows.window();
    EXPECT_EQ(window->title(), "Torvel · This Mac");
    EXPECT_EQ(window->minimumSize(), QSize(820, 560));
    EXPECT_EQ(window->size(), QSize(900, 640));
    windows.route().setSection(AppSection::memory);
    EXPECT_EQ(window->title(), "Torvel · Long memory");

    window->close();
    ASSERT_TRUE(testing::spinUntil([&] { return !windows.windowIsLive(); }));
    EXPECT_EQ(settings.liveWatchers(), before);
    EXPECT_EQ(settings.pollInterval(), ChargeSettingsModel::idlePollInterval);

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

QQuickItem* named(TorvelApp& app, const char* name) {
    return app.windows().window()->findChild<QQuickItem*>(QString::fromUtf8(name));
}

// The journal pages over no journal and over a few generated days: the young journal says so and charts
// nothing; a journal with days in it is told, charted and carded.
TEST(JournalPages, TellAYoungJournalAndOneWithDaysInIt) {
    for (const int days : {0, 3}) {
        AppRig rig(std::nullopt, days);
        const bool young = days == 0;
        const fs::path shot = rig.root.path() / "today.png";
        ASSERT_EQ(rig.app->screenshotSection(QString::fromStdString(shot.string()), AppSection::today),
                  std::nullopt);
        EXPECT_GT(coarseColours(QImage(QString::fromStdString(shot.string()))), 25) << days;
        const JournalPageModel& page = rig.app->journalPage();
        EXPECT_EQ(page.todayYoung(), young) << days;
        ASSERT_FALSE(page.insights().isEmpty());
        EXPECT_EQ(page.insights().front().toMap().value("title") == "The history has only just started",
                  young);
        EXPECT_EQ(page.projectionTitle().isEmpty(), young) << "the projection closes a day with readings";
        EXPECT_EQ(page.todayFigures().size(), young ? 0 : 4) << "with the protected time the status told";
        ASSERT_NE(named(*rig.app, "todayChart"), nullptr);
        EXPECT_EQ(rig.app->history().todayChart()->empty(), young);

        rig.app->history().setRangeName(QStringLiteral("week"));
        ASSERT_EQ(rig.app->screenshotSection(QString::fromStdString(shot.string()), AppSection::memory),
                  std::nullopt);
        ASSERT_NE(named(*rig.app, "rangeChart"), nullptr);
        EXPECT_EQ(rig.app->history().rangeChart()->empty(), young) << days;
        EXPECT_EQ(page.rangeFigures().isEmpty(), young) << days;
        EXPECT_EQ(page.daysRecorded(), QString::number(days));

        // The year picks the year's words for the same days.
        rig.app->history().setRangeName(QStringLiteral("year"));
        ASSERT_TRUE(testing::spinUntil([&] { return rig.app->history().reloadsInFlight() == 0; }));
        EXPECT_EQ(page.rangeHeadline().contains(QStringLiteral(" year ")), !young)
            << page.rangeHeadline().toStdString();
    }
}

// The calibration page starts a sweep only when the service can run one, and while one runs offers Stop
// with the step's progress instead.
TEST(CalibrationPage, StartWhenPossibleStopWhileRunning) {
    struct Case {
        const char* status;
        bool canStart, startShown, stopShown;
        const char* progress;
    };
    const Case cases[] = {
        {R"(,"dischargeSupported":false)", false, true, false, ""},
        {R"(,"dischargeSupported":true)", true, true, false, ""},
        {R"(,"dischargeSupported":true,"pct":52,"cal":{"phase":"drain","drainTarget":15})", true, false, true,
         "56%"},
    };
    for (const auto& c : cases) {
        AppRig rig(std::nullopt, 0, c.status);
        const fs::path shot = rig.root.path() / "calibration.png";
        ASSERT_EQ(rig.app->screenshotSection(QString::fromStdString(shot.string()), AppSection::calibration),
                  std::nullopt);
        EXPECT_GT(coarseColours(QImage(QString::fromStdString(shot.string()))), 25) << c.status;
        const CalibrationModel& model = rig.app->calibration();
        EXPECT_EQ(model.canStart(), c.canStart) << c.status;
        EXPECT_EQ(model.blockedReason().isEmpty(), c.canStart) << "a refusal always says why";
        EXPECT_EQ(named(*rig.app, "startButton")->isVisible(), c.startShown) << c.status;
        EXPECT_EQ(named(*rig.app, "startButton")->isEnabled(), c.canStart) << c.status;
        EXPECT_EQ(named(*rig.app, "stopButton")->isVisible(), c.stopShown) << c.status;
        EXPECT_EQ(model.progressText(), c.progress) << c.status;
    }
}

// Every item under `root`, depth first.
void collect(QQuickItem* root, std::vector<QQuickItem*>& into) {
    into.push_back(root);
    for (QQuickItem* child : root->childItems()) collect(child, into);
}

// Keys a page's controls leave alone scroll the page; a control the focus moves to under the fold is brought
// into view; a switch shows its focus ring while it has the keyboard focus, and only then.
TEST(MainWindow, ThePageScrollsFromTheKeyboardAndFollowsTheFocus) {
    AppRig rig;
    ASSERT_TRUE(rig.app->windows().show(AppSection::settings));
    QQuickWindow* window = rig.app->windows().window();
    window->requestActivate();
    ASSERT_TRUE(testing::spinUntil([window] { return window->isActive(); }));
    QQuickItem* scroller = named(*rig.app, "pageScroller");
    const auto at = [scroller] { return scroller->property("contentY").toDouble(); };
    const double bottom = scroller->property("contentHeight").toDouble() - scroller->height();
    ASSERT_GT(bottom, scroller->height()) << "the settings page is longer than two windows";
    const auto press = [window](int key) {
        QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &down);
    };
    const struct {
        int key;
        double from;
        double to;
    } keys[] = {
        {Qt::Key_End, 0, bottom}, {Qt::Key_Home, bottom, 0},
        {Qt::Key_Down, 0, 48},    {Qt::Key_PageDown, 48, 48 + scroller->height() - 48},
        {Qt::Key_Up, 48, 0},      {Qt::Key_PageUp, 100, 0},
    };
    for (const auto& k : keys) {
        scroller->setProperty("contentY", k.from);
        press(k.key);
        EXPECT_DOUBLE_EQ(at(), k.to) << "key " << std::hex << k.key;
    }

    std::vector<QQuickItem*> items;
    collect(scroller, items);
    QQuickItem* last = nullptr;
    QQuickItem* ring = nullptr;
    for (QQuickItem* item : items) {
        if (item->activeFocusOnTab() && item->isVisible()) last = item;
        if (!ring && QByteArray(item->metaObject()->className()).startsWith("FocusRing") &&
            QByteArray(item->parentItem()->metaObject()->className()).startsWith("EmberSwitch"))
            ring = item;
    }
    ASSERT_NE(last, nullptr);
    ASSERT_NE(ring, nullptr) << "a switch draws a focus ring";
    scroller->setProperty("contentY", 0);
    last->forceActiveFocus(Qt::TabFocusReason);
    const double top = last->mapToItem(scroller, QPointF(0, 0)).y();
    EXPECT_GE(top, 0);
    EXPECT_LE(top + last->height(), scroller->height()) << "the focused control is scrolled into view";

    EXPECT_FALSE(ring->isVisible());
    ring->parentItem()->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(ring->isVisible());
}

// QML faults surface only when a view is made; every block of the design system is made once here, with the
// singletons it names, so a typo in one that no page uses yet still fails a test.
TEST(DesignSystem, EveryBlockLoadsWithoutErrors) {
    AppRig rig;
    ASSERT_TRUE(rig.app->windows().show(AppSection::today));
    QQmlEngine* engine = qmlEngine(rig.app->windows().window());
    ASSERT_NE(engine, nullptr);
    for (const char* block :
         {"EmberButton",   "EmberSegmented", "AdviceSegmented", "PopChoice",   "PageHeader",
          "SettingsCard",  "DisclosureCard", "SettingsRow",     "RowDivider",  "InfoRow",
          "NoteCard",      "SubPage",        "SettingCard",     "StripCell",   "RestingBar",
          "RollingDigits", "Lamp",           "LampRow",         "HeroHeader",  "ConfirmDialog",
          "PageFooter",    "TextLink",       "ProgressTrack",   "ChartLegend", "InsightList",
          "CapacityRuns"}) {
        QQmlComponent component(engine, QUrl(QStringLiteral("qrc:/Torvel/%1.qml").arg(QLatin1String(block))));
        std::unique_ptr<QObject> made(component.create());
        EXPECT_NE(made, nullptr) << block << ": " << component.errorString().toStdString();
    }
}

}  // namespace
}  // namespace torvel::app
