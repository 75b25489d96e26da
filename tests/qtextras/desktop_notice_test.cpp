#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QFileInfo>
#include <QVariantMap>

#include "dbus_mock.h"
#include "status/desktop_notifier.h"
#include "support.h"

namespace torvel::app::testing {
namespace {

// The notification server as python-dbusmock plays it: Notify answers ids 1, 2, ...
class MockNotifications : public DbusMock {
  public:
    explicit MockNotifications(const PrivateBus& bus)
        : DbusMock(bus, QStringLiteral("org.freedesktop.Notifications"),
                   QStringLiteral("/org/freedesktop/Notifications"), {"--template", "notification_daemon"}) {}

    // The arguments of every Notify call, in order.
    QList<QVariantList> notified() const {
        const QDBusMessage reply = call(QStringLiteral("GetMethodCalls"), {QStringLiteral("Notify")});
        QList<QVariantList> calls;
        if (reply.arguments().isEmpty()) return calls;
        const auto list = reply.arguments().constFirst().value<QDBusArgument>();
        list.beginArray();
        while (!list.atEnd()) {
            quint64 when = 0;
            QVariantList arguments;
            list.beginStructure();
            list >> when >> arguments;
            list.endStructure();
            calls << arguments;
        }
        list.endArray();
        return calls;
    }

    void invoke(uint id, const QString& action) const {
        emitSignal(QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"),
                   QStringLiteral("us"), {id, action});
    }
};

TEST(DesktopNotice, NamesTheAppAndItsClickOpensTheSectionItIsAbout) {
    qtApp();
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    MockNotifications server(bus);
    const QDBusConnection app = bus.connect(QStringLiteral("app"));
    NoticeActions actions(app);
    QStringList opened;
    QObject::connect(&actions, &NoticeActions::sectionRequested,
                     [&opened](const QString& s) { opened << s; });
    const NoticePoster post = DesktopNotifier::sessionBus(app, &actions);

    int added = 0;
    for (const char* section : {"mac", "today", ""}) {
        post("Title", "Body", section, [&added](bool ok) { added += ok ? 1 : 0; });
        ASSERT_TRUE(spinUntil([&added, n = added] { return added > n; }));
    }
    const auto calls = server.notified();
    ASSERT_EQ(calls.size(), 3);
    const QString icon = calls[0][2].toString();
    EXPECT_TRUE(
        QFileInfo::exists(QStringLiteral(TORVEL_SOURCE_DIR "/packaging/linux/icons/%1.svg").arg(icon)))
        << icon.toStdString();
    QVariantMap hints;
    calls[0][6].value<QDBusArgument>() >> hints;
    EXPECT_EQ(hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("com.torvel.Torvel"));
    EXPECT_EQ(calls[0][5].toStringList(), (QStringList{"default", "Open Torvel"}));
    EXPECT_EQ(calls[2][5].toStringList(), QStringList{});  // a notice about nothing in particular

    server.invoke(2, QStringLiteral("default"));
    server.invoke(99, QStringLiteral("default"));  // another program's notice
    server.invoke(1, QStringLiteral("snooze"));
    spinUntil([&opened] { return !opened.isEmpty(); });
    spinUntil([] { return false; }, 200);
    EXPECT_EQ(opened, QStringList{QStringLiteral("today")});
}

}  // namespace
}  // namespace torvel::app::testing
