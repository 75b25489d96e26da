#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusVirtualObject>
#include <QVariantMap>

#include "extras/charge_arrival.h"
#include "fake_packagekit.h"
#include "status/desktop_notifier.h"
#include "support.h"

namespace torvel::app::testing {
namespace {

// The desktop's notification server as the arrival meets it on Wayland: it answers Notify and keeps what it
// was given.
class FakeNotifications : public QDBusVirtualObject {
  public:
    explicit FakeNotifications(QDBusConnection bus) : bus_(std::move(bus)) {
        bus_.registerVirtualObject(path, this);
        bus_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    ~FakeNotifications() override { bus_.unregisterObject(path); }

    QList<QVariant> notified;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != QLatin1String("Notify")) return false;
        notified = message.arguments();
        connection.send(message.createReply(QVariant::fromValue(7u)));
        return true;
    }
    QString introspect(const QString&) const override { return {}; }

  private:
    static inline const QString path = QStringLiteral("/org/freedesktop/Notifications");
    QDBusConnection bus_;
};

TEST(ArrivalNotice, OnWaylandItIsATransientSilentNoticeWithTheOverlaysWords) {
    qtApp();
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    FakeNotifications server(bus.connect(QStringLiteral("server")));
    QObject context;
    const auto presenter = ChargeArrivalController::notification(
        DesktopNotifier::transientSessionBus(bus.connect(QStringLiteral("app")), &context, 2200));
    presenter.present(QStringLiteral("57% → 80%"));

    spinUntil([&server] { return !server.notified.isEmpty(); });
    ASSERT_EQ(server.notified.size(), 8);
    EXPECT_EQ(server.notified[0].toString(), QStringLiteral("Torvel"));
    EXPECT_EQ(server.notified[3].toString(), QStringLiteral("57% → 80%"));
    EXPECT_EQ(server.notified[4].toString(), QString());
    EXPECT_EQ(server.notified[7].toInt(), 2200);
    QVariantMap hints;
    server.notified[6].value<QDBusArgument>() >> hints;
    EXPECT_TRUE(hints.value(QStringLiteral("transient")).toBool());
    EXPECT_TRUE(hints.value(QStringLiteral("suppress-sound")).toBool());
    EXPECT_EQ(hints.value(QStringLiteral("urgency")).toInt(), 0);
}

}  // namespace
}  // namespace torvel::app::testing
