#include "status/mac_page_model.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QMetaProperty>
#include <set>

#include "qt_support.h"
#include "status/mac_page.h"

namespace torvel::app::testing {
namespace {

struct Page {
    Rig& rig;
    std::unique_ptr<ServiceInstaller> installer;
    std::unique_ptr<MacPageModel> model;

    explicit Page(Rig& r, OtherProgramFix::TurnOff turnOffUPower = {}) : rig(r) {
        ChargeSettingsModel& settings = rig.settings ? *rig.settings : rig.make();
        installer = std::make_unique<ServiceInstaller>(settings, ServiceInstaller::Helpers{});
        const fs::path dir = rig.root.path();
        const Paths paths{.config = dir / "config.json",
                          .status = dir / "status.json",
                          .history = dir / "history",
                          .log = dir / "daemon.log",
                          .powerSupply = dir / "sys",
                          .root = dir};
        model = std::make_unique<MacPageModel>(
            settings, *installer,
            MacPageModel::Sources{.paths = paths,
                                  .lock = SystemLock{},
                                  .loginItem = [] { return LoginItem::Status::enabled; },
                                  .updater =
                                      [] {
                                          UpdaterState updates;
                                          updates.automatic = true;
                                          return updates;
                                      },
                                  .clock = [&r] { return r.now; },
                                  .turnOffUPower = std::move(turnOffUPower)});
    }
};

void write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

TEST(MacPageModel, InstallingFromTheFixButtonTurnsThePageGreen) {
    Rig rig(Status::notRegistered);
    Page page(rig);
    MacPageModel& model = *page.model;
    EXPECT_EQ(model.level(), MacPageModel::Level::todo);
    EXPECT_EQ(model.headline(), QStringLiteral("Almost. One thing to do."));
    EXPECT_EQ(model.subline(), QStringLiteral("Without its charge service, Torvel can’t hold your limit."));
    EXPECT_EQ(model.fixAction(), MacPageModel::FixAction::installService);
    EXPECT_EQ(model.fixTitle(), QStringLiteral("Install the service"));
    ASSERT_TRUE(model.fixEnabled());

    int headlineChanges = 0;
    QObject::connect(&model, &MacPageModel::headlineChanged, [&headlineChanges] { ++headlineChanges; });
    rig.writeStatus(
        R"("state":"hold","startedAt":)" + std::to_string(rig.now - 3600) +
        R"(,"daemonPath":"/usr/libexec/torvel/torvel-daemon","daemonVersion":"0.1.0","gateVerified":true,)"
        R"("smcKeys":["charge_control_end_threshold"],"dischargeSupported":false)");
    model.activateFix();
    rig.settings->refreshStatus();
    EXPECT_EQ(rig.fake.log, "enable;") << "a unit in place is switched on, not placed again";
    EXPECT_EQ(model.level(), MacPageModel::Level::ok);
    EXPECT_EQ(model.headline(), QStringLiteral("Yes, everything’s in place."));
    EXPECT_EQ(headlineChanges, 1);
    EXPECT_EQ(model.fixAction(), MacPageModel::FixAction::none);
    EXPECT_EQ(model.serviceRunningTime(), QStringLiteral("Running for 1h 0 min"));
    EXPECT_EQ(model.chargeMechanism(), QStringLiteral("charge_control_end_threshold"));
    EXPECT_EQ(model.forcedDischarge(), QStringLiteral("Unavailable"));
    EXPECT_TRUE(model.canReset());
    const QVariantMap service = model.rows().front().toMap();
    EXPECT_EQ(service[QStringLiteral("word")].toString(), QStringLiteral("Running"));
    EXPECT_EQ(service[QStringLiteral("level")].value<MacPageModel::Level>(), MacPageModel::Level::ok);
}

TEST(MacPageModel, TroubleshootingFactsAndTheReportOnTheClipboard) {
    Rig rig(Status::enabled);
    write(rig.root.path() / "sys/class/dmi/id/sys_vendor", "LENOVO\n");
    write(rig.root.path() / "sys/class/dmi/id/product_name", "ThinkPad X1 Carbon\n");
    write(rig.root.path() / "etc/os-release", "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    Page page(rig);
    MacPageModel& model = *page.model;
    EXPECT_EQ(model.machine(), QStringLiteral("LENOVO ThinkPad X1 Carbon"));
    EXPECT_EQ(model.system(), QStringLiteral("Debian GNU/Linux 12 (bookworm)"));
    EXPECT_EQ(model.historyOnDisk(), QStringLiteral("Nothing yet"));
    EXPECT_TRUE(model.appVersion().startsWith(QStringLiteral("Version ")));

    model.copyReport();
    const QString copied = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(copied.startsWith(QStringLiteral("Torvel "))) << copied.toStdString();
    EXPECT_TRUE(copied.contains(QStringLiteral("Debian GNU/Linux 12 (bookworm) · ThinkPad X1 Carbon")))
        << copied.toStdString();
    EXPECT_EQ(model.copyTitle(), QStringLiteral("Copied"));
    EXPECT_EQ(model.copiedNote(), QStringLiteral("Copied to the clipboard."));
    model.refresh();
    EXPECT_EQ(model.copyTitle(), QStringLiteral("Copy the diagnostic report")) << "a fresh look starts over";
}

// UPower writing its own threshold over two batteries: the control row offers the note's fix, which turns
// UPower's threshold off on both device objects and then sends the settings again; a refusal says why.
TEST(MacPageModel, TheControlRowTurnsUPowersThresholdOffOnEveryBatteryThenResendsTheSettings) {
    for (const bool refused : {false, true}) {
        SCOPED_TRACE(refused ? "refused" : "turned off");
        Rig rig(Status::enabled);
        rig.writeStatus(
            R"("state":"hold","otherWriter":{"program":"upower","yielded":true},"batteries":[)"
            R"({"name":"BAT0","pct":61,"mode":"thresholds","startThreshold":75,"endThreshold":80},)"
            R"({"name":"BAT1","pct":40,"mode":"behaviour","behaviour":"inhibit-charge"}])");
        QStringList asked;
        std::function<void(const QString&)> answer;
        Page page(rig, [&](const QStringList& devices, std::function<void(const QString&)> done) {
            asked = devices;
            answer = std::move(done);
        });
        MacPageModel& model = *page.model;
        const PublishedStatus& published = rig.settings->value().status.published;
        EXPECT_EQ(model.batteries().size(), 2);
        EXPECT_EQ(model.batteries().back().toMap()[QStringLiteral("value")].toString().toStdString(),
                  MacPage::batteryLines(published).back().value);

        const auto control = [&model] {
            for (const QVariant& row : model.rows())
                if (row.toMap()[QStringLiteral("piece")] == QStringLiteral("control")) return row.toMap();
            return QVariantMap{};
        };
        EXPECT_EQ(control()[QStringLiteral("button")].toString().toStdString(),
                  OtherProgramNote::from(published)->fixTitle);
        model.fixOtherProgram();
        EXPECT_EQ(asked, (QStringList{QStringLiteral("/org/freedesktop/UPower/devices/battery_BAT0"),
                                      QStringLiteral("/org/freedesktop/UPower/devices/battery_BAT1")}));
        EXPECT_FALSE(control()[QStringLiteral("buttonEnabled")].toBool()) << "one fix at a time";
        ASSERT_TRUE(answer);
        answer(refused ? QStringLiteral("Not authorized") : QString());
        EXPECT_EQ(rig.fake.applies.size(), refused ? 0U : 1U);
        EXPECT_EQ(model.otherProgramError().toStdString(),
                  refused ? OtherProgramNote::upowerFailed("Not authorized") : "");
        EXPECT_TRUE(control()[QStringLiteral("buttonEnabled")].toBool());
    }
}

TEST(MacPageModel, EveryChangingPropertyHasItsOwnSignalAndTheLinksComeFromTheBuild) {
    const QMetaObject& meta = MacPageModel::staticMetaObject;
    std::set<QByteArray> signalNames;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (property.isConstant()) continue;
        ASSERT_TRUE(property.hasNotifySignal()) << property.name();
        EXPECT_TRUE(signalNames.insert(property.notifySignal().name()).second) << property.name();
    }
    Rig rig;
    Page page(rig);
    EXPECT_TRUE(page.model->websiteUrl().startsWith(QStringLiteral("https://")));
    EXPECT_TRUE(page.model->contactUrl().startsWith(QStringLiteral("mailto:")));
}

}  // namespace
}  // namespace torvel::app::testing
