#include <gtest/gtest.h>
#include <sodium.h>
#include <unistd.h>

#include <QNetworkAccessManager>
#include <array>
#include <fstream>
#include <sstream>

#include "extras/updater_model.h"
#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using Ending = FakePackageKit::Ending;

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};

    KeyPair() {
        EXPECT_GE(sodium_init(), 0);
        crypto_sign_keypair(publicKey.data(), secretKey.data());
    }
    QString publicBase64() const {
        return QByteArray(reinterpret_cast<const char*>(publicKey.data()), 32).toBase64();
    }
    QByteArray sign(const QByteArray& bytes) const {
        std::array<unsigned char, crypto_sign_BYTES> signature{};
        crypto_sign_detached(signature.data(), nullptr,
                             reinterpret_cast<const unsigned char*>(bytes.constData()),
                             static_cast<unsigned long long>(bytes.size()), secretKey.data());
        return QByteArray(reinterpret_cast<const char*>(signature.data()), signature.size()).toBase64();
    }
};

struct FeedItem {
    QByteArray version;
    bool critical = false;
    qint64 length = 0;
    QByteArray signature;
};

QByteArray feed(const std::vector<FeedItem>& items) {
    QByteArray xml =
        R"(<?xml version="1.0"?><rss version="2.0" xmlns:up="https://torvel.example/ns"><channel>)";
    for (const auto& item : items) {
        xml += "<item><up:version>" + item.version + "</up:version>" +
               (item.critical ? "<up:criticalUpdate/>" : "") + R"(<enclosure url="/torvel.deb" length=")" +
               QByteArray::number(item.length) + R"(" up:edSignature=")" + item.signature + "\"/></item>";
    }
    return xml + "</channel></rss>";
}

// A package whose control data says `version`, built as the release is.
QByteArray debPackage(const QByteArray& version) {
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath("root/DEBIAN"));
    QFile control(dir.filePath("root/DEBIAN/control"));
    if (!control.open(QIODevice::WriteOnly)) return {};
    control.write("Package: torvel\nVersion: " + version +
                  "\nArchitecture: all\nMaintainer: Torvel <torvel@example.org>\nDescription: test\n");
    control.close();
    QProcess dpkg;
    dpkg.start("dpkg-deb",
               {"--root-owner-group", "-Zgzip", "--build", dir.filePath("root"), dir.filePath("p.deb")});
    dpkg.waitForFinished();
    QFile deb(dir.filePath("p.deb"));
    return deb.open(QIODevice::ReadOnly) ? deb.readAll() : QByteArray();
}

const QString feedPath = QStringLiteral("/appcast.xml");
const QString packagePath = QStringLiteral("/torvel.deb");

// One updater running version 1.2 against a loopback feed, with its own settings file and download folder.
struct Rig {
    TlsServer server;
    KeyPair keys;
    QTemporaryDir dir;
    QNetworkAccessManager network;
    Instant clock = 1'763'900'000;
    QByteArray package = debPackage("1.4");
    std::unique_ptr<UpdaterModel> updater;

    Rig() { EXPECT_TRUE(server.listening()); }

    QString settingsFile() const { return dir.filePath(QStringLiteral("Torvel.conf")); }
    FeedItem signedItem(QByteArray version, bool critical = false) const {
        return {version, critical, package.size(), keys.sign(package)};
    }
    void serve(QByteArray other, FeedItem& item) {
        package = std::move(other);
        item = signedItem(item.version);
        server.routes[packagePath] = {package};
    }
    void publish(const std::vector<FeedItem>& items) {
        server.routes[feedPath] = {feed(items)};
        server.routes[packagePath] = {package};
    }

    // Without a bus of the test's own, the system bus is one that never connects.
    UpdaterModel& make(QDBusConnection bus = QDBusConnection(QStringLiteral("no bus")), QString url = {}) {
        updater = std::make_unique<UpdaterModel>(
            UpdaterModel::Config{.feed = url.isEmpty() ? server.url(feedPath) : QUrl(url),
                                 .publicKey = keys.publicBase64(),
                                 .runningVersion = QStringLiteral("1.2"),
                                 .timeout = 1s,
                                 .deadline = 2s,
                                 .settingsFile = settingsFile(),
                                 .downloadDirectory = dir.filePath(QStringLiteral("downloads")),
                                 .systemBus = std::move(bus),
                                 .clock = [this] { return clock; },
                                 .source = UpdateSource::vendorFeed,
                                 .installDeadline = 5s},
            &network);
        return *updater;
    }

    UpdaterModel& checked(QDBusConnection bus = QDBusConnection(QStringLiteral("no bus"))) {
        auto& made = make(std::move(bus));
        made.checkNow();
        EXPECT_TRUE(spinUntil([&] { return !made.checking(); }));
        return made;
    }

    QString installed(UpdaterModel& made) {
        made.install();
        EXPECT_TRUE(spinUntil([&] { return !made.installing(); }));
        return made.error();
    }
};

TEST(UpdaterModel, EachFeedEndsInItsWords) {
    struct Case {
        const char* what;
        std::function<void(Rig&)> serve;
        QString available;
        bool critical;
        QString status;
        QString error;
    };
    const Case cases[] = {
        {"nothing newer",
         [](Rig& r) {
             r.publish({r.signedItem("1.2"), r.signedItem("1.1")});
         },
         {},
         false,
         "Up to date, checked Nov 23, 2025",
         {}},
        {"an update",
         [](Rig& r) {
             r.publish({r.signedItem("1.3"), r.signedItem("1.4")});
         },
         "1.4",
         false,
         "Version 1.4 is available",
         {}},
        {"a critical update",
         [](Rig& r) { r.publish({r.signedItem("1.4", true)}); },
         "1.4",
         true,
         "This version should be replaced",
         {}},
        {"not XML",
         [](Rig& r) { r.server.routes[feedPath] = {"<html>Moved</html>"}; },
         {},
         false,
         "Couldn’t check",
         "The update feed isn’t readable"},
        {"no feed there",
         [](Rig&) {},
         {},
         false,
         "Couldn’t check",
         "The update server answered with error 404"},
        {"a server that never answers",
         [](Rig& r) { r.server.routes[feedPath].silent = true; },
         {},
         false,
         "Couldn’t check",
         "The update server didn’t answer"},
        {"a feed that drips a byte every half second",
         [](Rig& r) {
             r.publish({r.signedItem("1.4")});
             r.server.routes[feedPath].drip = true;
         },
         {},
         false,
         "Couldn’t check",
         "The update server took too long to send the feed"},
    };
    for (const auto& c : cases) {
        Rig rig;
        c.serve(rig);
        auto& updater = rig.make();
        // Turning automatic checks on looks at once: nothing was ever checked.
        updater.setAutomatic(true);
        EXPECT_TRUE(updater.checking()) << c.what;
        EXPECT_TRUE(spinUntil([&] { return !updater.checking(); }, 3000)) << c.what;
        EXPECT_EQ(updater.available(), c.available) << c.what;
        EXPECT_EQ(updater.critical(), c.critical) << c.what;
        EXPECT_EQ(updater.status(), c.status) << c.what;
        EXPECT_EQ(updater.error(), c.error) << c.what;
        EXPECT_EQ(updater.unreachable(), !c.error.isEmpty()) << c.what;
        // Looking never fetches the package.
        EXPECT_EQ(rig.server.requested, QStringList{feedPath}) << c.what;
    }
}

TEST(UpdaterModel, WhatTheCheckupReadsIsWhatTheAppShowsAfterARestartToo) {
    Rig rig;
    rig.publish({rig.signedItem("1.4")});
    auto& first = rig.make();
    int statusChanges = 0;
    QObject::connect(&first, &UpdaterModel::statusChanged, [&statusChanges] { ++statusChanges; });
    first.setAutomatic(true);
    ASSERT_TRUE(spinUntil([&] { return !first.checking(); }));
    EXPECT_EQ(statusChanges, 2);  // "Not checked yet", then the version found
    const UpdaterState shown = first.state();
    std::ifstream file(rig.settingsFile().toStdString());
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(UpdaterState::fromSettings(text.str()), shown);

    // The next run does not look again before a day has passed, and reads the feed again to install.
    rig.server.requested.clear();
    auto& again = rig.make();
    EXPECT_EQ(again.state(), shown);
    again.setAutomatic(false);
    again.setAutomatic(true);
    EXPECT_FALSE(again.checking());
    EXPECT_EQ(rig.installed(again), QStringLiteral("PackageKit isn’t available to install the update"));
    EXPECT_EQ(rig.server.requested, (QStringList{feedPath, packagePath}));
}

TEST(UpdaterModel, RefusesAPackageThatDoesNotVerifyOrIsNotTheAnnouncedVersion) {
    struct Case {
        const char* what;
        std::function<void(Rig&, FeedItem&)> tamper;
        QString error;
    };
    const Case cases[] = {
        {"signed by another key", [](Rig& r, FeedItem& item) { item.signature = KeyPair().sign(r.package); },
         "The download’s signature isn’t valid"},
        {"changed after signing", [](Rig& r, FeedItem&) { r.server.routes[packagePath].body[10] = 'x'; },
         "The download’s signature isn’t valid"},
        {"longer than announced", [](Rig&, FeedItem& item) { item.length -= 1; },
         "The download isn’t the announced size"},
        {"shorter than announced", [](Rig&, FeedItem& item) { item.length += 1; },
         "The download isn’t the announced size"},
        {"never arrives", [](Rig& r, FeedItem&) { r.server.routes[packagePath].silent = true; },
         "The update server didn’t answer"},
        // Signed by our key, so only the package's own version gives these away.
        {"an old package relabelled as new", [](Rig& r, FeedItem& item) { r.serve(debPackage("1.1"), item); },
         "The downloaded package is version 1.1, older than the running 1.2, so it wasn’t installed"},
        {"another release relabelled", [](Rig& r, FeedItem& item) { r.serve(debPackage("1.3"), item); },
         "The downloaded package is version 1.3, not the announced 1.4"},
        {"not a package", [](Rig& r, FeedItem& item) { r.serve(QByteArray(5000, 'p'), item); },
         "The downloaded package doesn’t say which version it is"},
    };
    for (const auto& c : cases) {
        Rig rig;
        auto item = rig.signedItem("1.4");
        rig.publish({});
        c.tamper(rig, item);
        rig.server.routes[feedPath] = {feed({item})};
        PrivateBus bus;
        FakePackageKit packageKit(bus.connect(QStringLiteral("packagekit")), Ending::success);
        auto& updater = rig.checked(bus.connect(QStringLiteral("app")));
        ASSERT_EQ(updater.available(), QStringLiteral("1.4")) << c.what;
        EXPECT_EQ(rig.installed(updater), c.error) << c.what;
        EXPECT_TRUE(packageKit.calls.isEmpty()) << c.what;
        EXPECT_TRUE(QDir(rig.dir.filePath("downloads")).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot))
            << c.what;
    }
}

TEST(UpdaterModel, InstallsAVerifiedPackageThroughPackageKitOnlyWhenAsked) {
    struct Case {
        std::optional<Ending> ending;  // none: nobody owns PackageKit's name
        QString error;
    };
    const Case cases[] = {
        {Ending::success, {}},
        {Ending::refusedByPolkit, "Couldn’t install the update: Failed to obtain authentication."},
        {Ending::cancelled, "The installation was cancelled"},
        {Ending::callRefused, "You weren’t allowed to install the update"},
        {std::nullopt, "PackageKit isn’t available to install the update"},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.publish({rig.signedItem("1.4")});
        PrivateBus bus;
        ASSERT_TRUE(bus.running());
        std::optional<FakePackageKit> packageKit;
        if (c.ending) packageKit.emplace(bus.connect(QStringLiteral("packagekit")), *c.ending);
        auto& updater = rig.checked(bus.connect(QStringLiteral("app")));
        int installed = 0;
        QObject::connect(&updater, &UpdaterModel::installed, [&installed] { ++installed; });
        EXPECT_EQ(rig.server.requested, QStringList{feedPath});

        EXPECT_EQ(rig.installed(updater), c.error);
        EXPECT_EQ(installed, c.error.isEmpty() ? 1 : 0);
        if (!packageKit) continue;
        EXPECT_EQ(packageKit->fileBytes, rig.package);
        EXPECT_EQ(packageKit->hints, QStringList{"interactive=true"});
        // Only-trusted would refuse a package from outside any repository.
        EXPECT_EQ(packageKit->flags, 0u);
        // Where only this user could have put it, in a directory made for it and gone afterwards.
        EXPECT_EQ(packageKit->directory.st_mode, S_IFDIR | 0700u);
        EXPECT_EQ(packageKit->directory.st_uid, ::getuid());
        const QFileInfo handed(packageKit->files.value(0));
        EXPECT_EQ(handed.dir().absolutePath().section('/', 0, -2), rig.dir.filePath("downloads"));
        EXPECT_FALSE(handed.dir().exists());
    }
}

TEST(UpdaterModel, NothingToDoWithoutAnUpdateOrASecureAddress) {
    Rig rig;
    auto& updater = rig.make();
    EXPECT_EQ(rig.installed(updater).toStdString(),
              UpdateActionWords::problem(UpdateProblem::nothingToInstall));
    auto& plain = rig.make(QDBusConnection(QStringLiteral("no bus")), "http://torvel.example/appcast.xml");
    plain.checkNow();
    EXPECT_FALSE(plain.checking());
    EXPECT_EQ(plain.error().toStdString(), UpdateActionWords::problem(UpdateProblem::notSetUp));
}

}  // namespace
}  // namespace torvel::app
