#include "extras/updater.h"

#include <gtest/gtest.h>
#include <sodium.h>

#include <QDBusConnection>
#include <QNetworkAccessManager>
#include <array>
#include <fstream>
#include <sstream>

#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app {
namespace {

using namespace testing;
using namespace std::chrono_literals;

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};

    KeyPair() {
        EXPECT_GE(sodium_init(), 0);
        crypto_sign_keypair(publicKey.data(), secretKey.data());
    }
    QString publicBase64() const {
        return QByteArray(reinterpret_cast<const char*>(publicKey.data()), publicKey.size()).toBase64();
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
    QByteArray shortVersion;
    bool critical = false;
    qint64 length = 0;
    QByteArray signature;
};

QByteArray feed(const std::vector<FeedItem>& items) {
    QByteArray xml = R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:up="https://torvel.example/ns"><channel><title>Torvel</title>)";
    for (const auto& item : items) {
        xml += "<item><title>Torvel " + item.shortVersion + "</title><up:version>" + item.version +
               "</up:version><up:shortVersionString>" + item.shortVersion + "</up:shortVersionString>" +
               (item.critical ? "<up:criticalUpdate/>" : "") + R"(<enclosure url="/torvel.deb" length=")" +
               QByteArray::number(item.length) +
               R"(" type="application/vnd.debian.binary-package" up:edSignature=")" + item.signature +
               "\"/></item>";
    }
    return xml + "</channel></rss>";
}

const QString feedPath = QStringLiteral("/appcast.xml");
const QString packagePath = QStringLiteral("/torvel.deb");

// One updater against a loopback feed, its own settings file, and a system bus that has no PackageKit.
struct Rig {
    TlsServer server;
    KeyPair keys;
    QTemporaryDir dir;
    QNetworkAccessManager network;
    Instant clock = 1'763'900'000;
    QByteArray package = QByteArray(50'000, 'p');
    std::unique_ptr<Updater> updater;

    Rig() { EXPECT_TRUE(server.listening()); }

    QString settingsFile() const { return dir.filePath(QStringLiteral("Torvel.conf")); }
    QString downloads() const { return dir.filePath(QStringLiteral("downloads")); }

    void publish(const std::vector<FeedItem>& items) { server.routes[feedPath] = {feed(items)}; }
    FeedItem signedItem(QByteArray version, bool critical = false) const {
        return {version, version, critical, package.size(), keys.sign(package)};
    }

    Updater& make(QDBusConnection bus = QDBusConnection(QStringLiteral("no bus"))) {
        updater = std::make_unique<Updater>(Updater::Config{.feed = server.url(feedPath),
                                                            .publicKey = keys.publicBase64(),
                                                            .runningVersion = QStringLiteral("1.2"),
                                                            .timeout = 1s,
                                                            .settingsFile = settingsFile(),
                                                            .downloadDirectory = downloads(),
                                                            .systemBus = std::move(bus),
                                                            .clock = [this] { return clock; }},
                                            &network);
        return *updater;
    }

    // Turning automatic checks on checks at once: nothing has been checked yet.
    Updater& checked() {
        auto& made = make();
        made.setAutomatic(true);
        EXPECT_TRUE(made.checking());
        EXPECT_TRUE(spinUntil([&] { return !made.checking(); }));
        return made;
    }

    std::string settingsText() const {
        std::ifstream file(settingsFile().toStdString());
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }
};

TEST(Updater, EachFeedEndsInItsWords) {
    struct Case {
        const char* what;
        std::function<void(Rig&)> serve;
        QString available;
        bool critical;
        bool unreachable;
        QString shortText;
        QString error;
    };
    const QString none;
    const Case cases[] = {
        {"nothing newer",
         [](Rig& r) {
             r.publish({r.signedItem("1.2"), r.signedItem("1.1")});
         },
         none, false, false, "Up to date", none},
        {"an update",
         [](Rig& r) {
             r.publish({r.signedItem("1.3"), r.signedItem("1.4")});
         },
         "1.4", false, false, "1.4 available", none},
        {"a critical update", [](Rig& r) { r.publish({r.signedItem("1.4", true)}); }, "1.4", true, false,
         "This version should be replaced", none},
        {"not XML", [](Rig& r) { r.server.routes[feedPath] = {"<html>Moved</html>"}; }, none, false, true,
         "Couldn’t check", "The update feed isn’t readable"},
        {"no feed there", [](Rig&) {}, none, false, true, "Couldn’t check",
         "The update server answered with error 404"},
        {"only unsigned items",
         [](Rig& r) {
             auto item = r.signedItem("1.4");
             item.signature.clear();
             r.publish({item});
         },
         none, false, true, "Couldn’t check", "The update isn’t signed"},
    };
    for (const auto& c : cases) {
        Rig rig;
        c.serve(rig);
        auto& updater = rig.checked();
        EXPECT_EQ(updater.available(), c.available) << c.what;
        EXPECT_EQ(updater.critical(), c.critical) << c.what;
        EXPECT_EQ(updater.unreachable(), c.unreachable) << c.what;
        EXPECT_EQ(updater.shortText(), c.shortText) << c.what;
        EXPECT_EQ(updater.error(), c.error) << c.what;
        EXPECT_EQ(updater.lastCheck().toSecsSinceEpoch(), qint64(rig.clock)) << c.what;
        // Looking never fetches the package.
        EXPECT_EQ(rig.server.requested, QStringList{feedPath}) << c.what;
    }
}

TEST(Updater, AServerThatNeverAnswersTimesOut) {
    Rig rig;
    rig.server.routes[feedPath] = {.body = {}, .status = 200, .silent = true};
    auto& updater = rig.make();
    QElapsedTimer waited;
    waited.start();
    updater.checkNow();
    ASSERT_TRUE(spinUntil([&] { return !updater.checking(); }, 4000));
    EXPECT_LT(waited.elapsed(), 3000);
    EXPECT_EQ(updater.error(), QStringLiteral("The update server didn’t answer"));
    EXPECT_TRUE(updater.unreachable());
    // Checking is off: the manual check ran, and the words still say so first.
    EXPECT_EQ(updater.status(), QStringLiteral("Checking is off"));
}

TEST(Updater, EveryChangeIsSignalledAndPersistedForTheCheckup) {
    Rig rig;
    rig.publish({rig.signedItem("1.4")});
    auto& updater = rig.make();
    const auto count = [&updater](void (Updater::*signal)()) {
        auto counter = std::make_shared<int>(0);
        QObject::connect(&updater, signal, [counter] { ++*counter; });
        return counter;
    };
    const auto available = count(&Updater::availableChanged);
    const auto checking = count(&Updater::checkingChanged);
    const auto lastCheck = count(&Updater::lastCheckChanged);
    const auto automatic = count(&Updater::automaticChanged);
    const auto status = count(&Updater::statusChanged);
    const auto critical = count(&Updater::criticalChanged);
    updater.setAutomatic(true);
    ASSERT_TRUE(spinUntil([&] { return !updater.checking(); }));
    EXPECT_EQ(*available, 1);
    EXPECT_EQ(*checking, 2);
    EXPECT_EQ(*lastCheck, 1);
    EXPECT_EQ(*automatic, 1);
    EXPECT_EQ(*critical, 0);
    // "Checking is off" → "Not checked yet" → "Version 1.4 is available", nothing more while checking.
    EXPECT_EQ(*status, 2);
    EXPECT_EQ(updater.status(), QStringLiteral("Version 1.4 is available"));

    // What the checkup reads from the file is what the app shows.
    UpdaterState expected = updater.state();
    EXPECT_EQ(UpdaterState::fromSettings(rig.settingsText()), expected);

    // A later start remembers it, and does not look again before a day has passed.
    rig.updater.reset();
    rig.server.requested.clear();
    auto& again = rig.make();
    EXPECT_EQ(again.state(), expected);
    EXPECT_TRUE(again.automatic());
    again.setAutomatic(false);
    again.setAutomatic(true);
    EXPECT_FALSE(again.checking());
    rig.clock += Appcast::checkInterval;
    again.setAutomatic(false);
    again.setAutomatic(true);
    EXPECT_TRUE(again.checking());
}

TEST(Updater, RefusesAPackageThatDoesNotVerify) {
    struct Case {
        const char* what;
        std::function<void(Rig&, FeedItem&)> tamper;
        QString error;
    };
    const Case cases[] = {
        {"signed by another key", [](Rig& r, FeedItem& item) { item.signature = KeyPair().sign(r.package); },
         "The download’s signature isn’t valid"},
        {"changed after signing", [](Rig& r, FeedItem&) { r.package[10] = 'x'; },
         "The download’s signature isn’t valid"},
        {"longer than announced", [](Rig&, FeedItem& item) { item.length -= 1; },
         "The download isn’t the announced size"},
        {"shorter than announced", [](Rig&, FeedItem& item) { item.length += 1; },
         "The download isn’t the announced size"},
        {"never arrives", [](Rig& r, FeedItem&) { r.server.routes[packagePath].silent = true; },
         "The update server didn’t answer"},
        {"gone", [](Rig& r, FeedItem&) { r.server.routes.erase(packagePath); },
         "The update server answered with error 404"},
    };
    for (const auto& c : cases) {
        Rig rig;
        auto item = rig.signedItem("1.4");
        rig.server.routes[packagePath] = {rig.package};
        c.tamper(rig, item);
        if (rig.server.routes.count(packagePath)) rig.server.routes[packagePath].body = rig.package;
        rig.publish({item});
        auto& updater = rig.checked();
        ASSERT_EQ(updater.available(), QStringLiteral("1.4")) << c.what;
        updater.install();
        EXPECT_TRUE(updater.installing()) << c.what;
        ASSERT_TRUE(spinUntil([&] { return !updater.installing(); })) << c.what;
        EXPECT_EQ(updater.error(), c.error) << c.what;
        EXPECT_FALSE(QFile::exists(rig.downloads() + QStringLiteral("/torvel-update.deb"))) << c.what;
    }
}

TEST(Updater, AVerifiedPackageGoesToPackageKitWhichMayBeMissing) {
    Rig rig;
    rig.server.routes[packagePath] = {rig.package};
    rig.publish({rig.signedItem("1.4")});
    auto& updater = rig.checked();
    updater.install();
    ASSERT_TRUE(spinUntil([&] { return !updater.installing(); }));
    EXPECT_EQ(rig.server.requested, (QStringList{feedPath, packagePath}));
    EXPECT_EQ(updater.error(), QStringLiteral("PackageKit isn’t available to install the update"));
    EXPECT_FALSE(QFile::exists(rig.downloads() + QStringLiteral("/torvel-update.deb")));
}

TEST(Updater, AVerifiedPackageIsInstalledOnlyWhenAsked) {
    Rig rig;
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    FakePackageKit packageKit(bus.connect(QStringLiteral("packagekit")), FakePackageKit::Ending::success);
    rig.server.routes[packagePath] = {rig.package};
    rig.publish({rig.signedItem("1.4")});
    auto& updater = rig.make(bus.connect(QStringLiteral("app")));
    int installed = 0;
    QObject::connect(&updater, &Updater::installed, [&installed] { ++installed; });
    updater.checkNow();
    ASSERT_TRUE(spinUntil([&] { return !updater.checking(); }));
    EXPECT_TRUE(packageKit.calls.isEmpty());

    updater.install();
    ASSERT_TRUE(spinUntil([&] { return !updater.installing(); }));
    EXPECT_EQ(updater.error(), QString());
    EXPECT_EQ(installed, 1);
    EXPECT_EQ(packageKit.fileBytes, rig.package);
    // Handed over and no longer needed.
    EXPECT_FALSE(QFile::exists(packageKit.files.value(0)));
}

TEST(Updater, AnUpdateRememberedFromAnEarlierRunIsLookedUpBeforeInstalling) {
    Rig rig;
    rig.server.routes[packagePath] = {rig.package};
    rig.publish({rig.signedItem("1.4")});
    rig.checked();
    rig.updater.reset();
    rig.server.requested.clear();

    auto& updater = rig.make();
    updater.install();
    ASSERT_TRUE(spinUntil([&] { return !updater.installing(); }));
    EXPECT_EQ(rig.server.requested, (QStringList{feedPath, packagePath}));
    EXPECT_EQ(updater.error(), QStringLiteral("PackageKit isn’t available to install the update"));
}

TEST(Updater, NothingToDoWithoutAnAddressAKeyOrAnUpdate) {
    Rig rig;
    auto& updater = rig.make();
    updater.install();
    EXPECT_EQ(updater.error(), QStringLiteral("There is no update to install"));
    EXPECT_FALSE(updater.installing());

    Updater unset(Updater::Config{.feed = QUrl(QStringLiteral("http://torvel.example/appcast.xml")),
                                  .publicKey = rig.keys.publicBase64(),
                                  .runningVersion = QStringLiteral("1.2"),
                                  .timeout = 1s,
                                  .settingsFile = rig.settingsFile(),
                                  .downloadDirectory = rig.downloads(),
                                  .systemBus = QDBusConnection(QStringLiteral("no bus")),
                                  .clock = {}},
                  &rig.network);
    unset.checkNow();
    EXPECT_FALSE(unset.checking());
    EXPECT_EQ(unset.error(), QStringLiteral("Updates aren’t set up in this build"));
    EXPECT_TRUE(rig.server.requested.isEmpty());
}

}  // namespace
}  // namespace torvel::app
