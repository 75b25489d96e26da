#include "extras/package_installer.h"

#include <gtest/gtest.h>

#include <QTemporaryFile>

#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app {
namespace {

using namespace testing;
using Ending = FakePackageKit::Ending;

struct Installed {
    bool done = false;
    std::optional<QString> error;
};

Installed installThrough(PackageInstaller& installer, const QString& path) {
    Installed result;
    installer.install(path, [&result](std::optional<QString> error) {
        result.done = true;
        result.error = std::move(error);
    });
    EXPECT_TRUE(spinUntil([&] { return result.done; }));
    return result;
}

TEST(PackageInstaller, HandsTheFileToPackageKitAndTellsHowItEnded) {
    qtApp();
    struct Case {
        Ending ending;
        std::optional<QString> error;
    };
    const Case cases[] = {
        {Ending::success, std::nullopt},
        {Ending::refusedByPolkit, "Couldn’t install the update: Failed to obtain authentication."},
        {Ending::cancelled, "The installation was cancelled"},
        {Ending::callRefused, "You weren’t allowed to install the update"},
    };
    QTemporaryFile package;
    ASSERT_TRUE(package.open());
    package.write("a package");
    package.flush();
    for (const auto& c : cases) {
        PrivateBus bus;
        ASSERT_TRUE(bus.running());
        FakePackageKit packageKit(bus.connect(QStringLiteral("packagekit")), c.ending);
        PackageInstaller installer(bus.connect(QStringLiteral("app")));
        const auto result = installThrough(installer, package.fileName());
        EXPECT_EQ(result.error, c.error) << int(c.ending);
        EXPECT_EQ(packageKit.calls, (QStringList{"CreateTransaction", "SetHints", "InstallFiles"}));
        EXPECT_EQ(packageKit.hints, QStringList{"interactive=true"});
        // Only-trusted would refuse a package from outside any repository: no flags.
        EXPECT_EQ(packageKit.flags, 0u);
        EXPECT_EQ(packageKit.files, QStringList{package.fileName()});
        EXPECT_FALSE(installer.busy());
    }
}

TEST(PackageInstaller, WithoutPackageKitSaysSo) {
    qtApp();
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    const QString absent = QStringLiteral("PackageKit isn’t available to install the update");
    PackageInstaller nobodyThere(bus.connect(QStringLiteral("app")));
    EXPECT_EQ(installThrough(nobodyThere, "/tmp/x.deb").error, absent);
    PackageInstaller noBus(QDBusConnection(QStringLiteral("never connected")));
    EXPECT_EQ(installThrough(noBus, "/tmp/x.deb").error, absent);
}

}  // namespace
}  // namespace torvel::app
