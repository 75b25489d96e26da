#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <fstream>

#include "extras/updater_model.h"
#include "qt_support.h"
#include "status/mac_page_model.h"
#include "ui/ember.h"
#include "ui/qml_types.h"

namespace torvel::app::testing {
namespace {

void writeScript(const fs::path& path, const std::string& body) {
    std::ofstream(path) << "#!/bin/sh\n" << body;
    fs::permissions(path, fs::perms::owner_all);
}

// The Mac page alone in a window, over a service the install helper put in place, with a pkexec that
// answers as the file `answer` says and logs what it was asked to run.
struct PageHost {
    Rig rig{Status::enabled};
    Ember ember;
    std::unique_ptr<ServiceInstaller> installer;
    std::unique_ptr<MacPageModel> model;
    std::unique_ptr<UpdaterModel> updater;
    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
    QObject* page = nullptr;

    explicit PageHost(bool dark = false) {
        std::ofstream(rig.legacyUnit()) << "[Service]\nExecStart=/usr/libexec/torvel/torvel-daemon\n";
        rig.writeStatus(R"("state":"hold","startedAt":)" + std::to_string(rig.now - 600));
        ChargeSettingsModel& settings = rig.make();
        const fs::path dir = rig.root.path();
        writeScript(dir / "pkexec", "echo \"$@\" >>\"" + (dir / "asked").string() + "\"\nexit $(cat \"" +
                                        (dir / "answer").string() + "\")\n");
        writeScript(dir / "uninstall-service", "exit 0\n");
        installer = std::make_unique<ServiceInstaller>(
            settings,
            ServiceInstaller::Helpers{.installer = std::nullopt,
                                      .uninstaller = dir / "uninstall-service",
                                      .daemon = "/usr/libexec/torvel/torvel-daemon",
                                      .elevator = QString::fromStdString((dir / "pkexec").string())});
        model = std::make_unique<MacPageModel>(
            settings, *installer,
            MacPageModel::Sources{.paths = {.config = dir / "config.json",
                                            .status = dir / "status.json",
                                            .history = dir / "history",
                                            .log = dir / "daemon.log",
                                            .powerSupply = dir / "sys",
                                            .root = dir},
                                  .lock = SystemLock{},
                                  .loginItem = [] { return LoginItem::Status::enabled; },
                                  .updater = [] { return UpdaterState{}; },
                                  .clock = [this] { return rig.now; }});
        // An update found by an earlier run, with automatic checks off and nowhere to check.
        std::ofstream(dir / "Torvel.conf") << "[updates]\navailable=0.2.0\nautomatic=false\n";
        updater = std::make_unique<UpdaterModel>(
            UpdaterModel::Config{.feed = {},
                                 .publicKey = {},
                                 .runningVersion = QStringLiteral("0.1.0"),
                                 .timeout = std::chrono::seconds(1),
                                 .deadline = std::chrono::seconds(1),
                                 .settingsFile = QString::fromStdString((dir / "Torvel.conf").string()),
                                 .downloadDirectory = QString::fromStdString(dir.string()),
                                 .systemBus = QDBusConnection(QStringLiteral("no bus")),
                                 .clock = {},
                                 .source = UpdateSource::none,
                                 .installDeadline = std::chrono::seconds(1)});
        ember.setDark(dark);
        QmlInstance<Ember>::set(&ember);
        QmlInstance<UpdaterModel>::set(updater.get());
        QmlInstance<MacPageModel>::set(model.get());
        QmlInstance<ServiceInstaller>::set(installer.get());

        QQmlComponent component(&engine);
        component.setData(R"(import QtQuick
                             import Torvel
                             Window {
                                 width: 900; height: 1400; color: Ember.bg
                                 MacView { objectName: "macView"; x: 70; y: 30; width: 760 }
                             })",
                          QUrl(QStringLiteral("qrc:/Torvel/MacViewHost.qml")));
        window.reset(qobject_cast<QQuickWindow*>(component.create()));
        if (!window) ADD_FAILURE() << component.errorString().toStdString();
        if (!window) return;
        window->show();
        spinUntil([this] { return window->isExposed(); });
        page = window->findChild<QObject*>(QStringLiteral("macView"));
    }

    QObject* find(const char* name) const { return page->findChild<QObject*>(QString::fromLatin1(name)); }
    // Through the visual tree: a Repeater's delegates are no QObject children of the page.
    static QQuickItem* findItem(QQuickItem* in, const QString& name) {
        for (QQuickItem* child : in->childItems()) {
            if (child->objectName() == name) return child;
            if (QQuickItem* found = findItem(child, name)) return found;
        }
        return nullptr;
    }
    QQuickItem* item(const char* name) const {
        return findItem(qobject_cast<QQuickItem*>(page), QString::fromLatin1(name));
    }
    void click(const char* name) const { QMetaObject::invokeMethod(find(name), "clicked"); }
    void answer(const std::string& how) const { std::ofstream(rig.root.path() / "answer") << how; }
    std::string asked() const {
        std::ifstream in(rig.root.path() / "asked");
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

// A render with text, cards and lamps has many coarse colours; a blank or failed one has one or two.
int coarseColours(const QImage& image) {
    QSet<QRgb> coarse;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) coarse.insert(image.pixel(x, y) & 0xF0F0F0);
    }
    return static_cast<int>(coarse.size());
}

TEST(MacView, RendersOffscreenInBothAppearances) {
    QRgb backgrounds[2] = {};
    for (const bool dark : {false, true}) {
        SCOPED_TRACE(dark ? "dark" : "light");
        PageHost host(dark);
        ASSERT_NE(host.page, nullptr);
        QCoreApplication::processEvents();
        const QImage image = host.window->grabWindow();
        ASSERT_FALSE(image.isNull());
        EXPECT_GT(coarseColours(image), 25);
        EXPECT_GT(host.page->property("height").toReal(), 500) << "head, checkup and troubleshooting";
        backgrounds[dark] = image.pixel(4, 4);
    }
    EXPECT_GT(qGray(backgrounds[0]), qGray(backgrounds[1]) + 100) << "the dark page is drawn dark";
}

TEST(MacView, RemovingAsksFirstAndAFailureStaysBesideTheButton) {
    const struct {
        const char* answer;  // of pkexec
        QString removeError;
    } cases[] = {
        {"126", QString()},  // the password prompt was dismissed: nothing to say
        {"1", QStringLiteral("uninstall-service failed with status 1")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer);
        PageHost host;
        ASSERT_NE(host.page, nullptr);
        host.answer(c.answer);
        host.find("troubleshooting")->setProperty("open", true);
        QObject* remove = host.find("removeButton");
        ASSERT_TRUE(remove->property("enabled").toBool());
        QObject* dialog = host.find("removalDialog");

        host.click("removeButton");
        ASSERT_TRUE(spinUntil([dialog] { return dialog->property("opened").toBool(); }));
        host.click("dialogCancel");
        ASSERT_TRUE(spinUntil([dialog] { return !dialog->property("visible").toBool(); }));
        EXPECT_EQ(host.asked(), "") << "Cancel removes nothing";

        host.click("removeButton");
        ASSERT_TRUE(spinUntil([dialog] { return dialog->property("opened").toBool(); }));
        host.click("dialogConfirm");
        ASSERT_TRUE(spinUntil([&host] { return !host.asked().empty() && !host.installer->busy(); }));
        EXPECT_EQ(host.asked(), (host.rig.root.path() / "uninstall-service").string() + "\n");
        EXPECT_FALSE(dialog->property("visible").toBool());
        EXPECT_EQ(remove->property("title").toString(), QStringLiteral("Remove and erase data"));
        EXPECT_EQ(host.model->removeError(), c.removeError);
        EXPECT_EQ(host.model->fixError(), QString()) << "the head does not repeat it";
    }
}

TEST(MacView, TheUpdatesRowSwitchesAutomaticChecksAndOffersTheUpdateFound) {
    PageHost host;
    ASSERT_NE(host.page, nullptr);
    QQuickItem* automatic = host.item("automaticUpdates");
    ASSERT_NE(automatic, nullptr);
    EXPECT_FALSE(automatic->property("checked").toBool());
    QMetaObject::invokeMethod(automatic, "flip");
    EXPECT_TRUE(host.updater->automatic());
    EXPECT_TRUE(automatic->property("checked").toBool());
    // The row's own button checks; the install is the one the row adds.
    EXPECT_FALSE(host.item("checkUpdates")->isVisible());
    EXPECT_TRUE(host.item("installUpdate")->isVisible());
}

}  // namespace
}  // namespace torvel::app::testing
