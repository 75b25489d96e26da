#include "shell/single_instance.h"

#include <gtest/gtest.h>

#include "fake_packagekit.h"
#include "support.h"

namespace torvel::app::testing {
namespace {

TEST(SingleInstance, TheFirstKeepsTheNameAndGetsEveryLaterLaunchsSwitches) {
    qtApp();
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    SingleInstance first(bus.connect(QStringLiteral("first")));
    ASSERT_EQ(first.claim({}), SingleInstance::Outcome::first);

    // A launch that arrives while the first is still starting is kept until it is ready.
    SingleInstance early(bus.connect(QStringLiteral("early")));
    EXPECT_EQ(early.claim({QStringLiteral("--panel")}), SingleInstance::Outcome::handedOver);
    QList<QStringList> handed;
    first.onActivate([&handed](const QStringList& switches) { handed << switches; });

    SingleInstance later(bus.connect(QStringLiteral("later")));
    EXPECT_EQ(later.claim({QStringLiteral("--settings"), QStringLiteral("mac")}),
              SingleInstance::Outcome::handedOver);
    EXPECT_EQ(handed, (QList<QStringList>{{"--panel"}, {"--settings", "mac"}}));

    EXPECT_EQ(SingleInstance(QDBusConnection(QStringLiteral("nowhere"))).claim({}),
              SingleInstance::Outcome::alone);
}

}  // namespace
}  // namespace torvel::app::testing
