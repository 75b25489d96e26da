#include "ui/dark_preference.h"

#include <gtest/gtest.h>

#include <QDBusVariant>

#include "dbus_mock.h"

namespace torvel::app::testing {
namespace {

// The settings portal as python-dbusmock plays it, answering color-scheme with `scheme`; an older portal
// has Read only, and wraps the value once more.
struct Portal : DbusMock {
    Portal(const PrivateBus& bus, uint scheme, bool older)
        : DbusMock(bus, QStringLiteral("org.freedesktop.portal.Desktop"),
                   QStringLiteral("/org/freedesktop/portal/desktop"),
                   {"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                    "org.freedesktop.portal.Settings"}) {
        const QString value = QStringLiteral("dbus.UInt32(%1)").arg(scheme);
        if (older) {
            call(QStringLiteral("AddMethod"),
                 {QString(), QStringLiteral("Read"), QStringLiteral("ss"), QStringLiteral("v"),
                  QStringLiteral("ret = dbus.UInt32(%1, variant_level=2)").arg(scheme)});
        } else {
            call(QStringLiteral("AddMethod"), {QString(), QStringLiteral("ReadOne"), QStringLiteral("ss"),
                                               QStringLiteral("v"), QStringLiteral("ret = %1").arg(value)});
        }
    }
    void change(const QString& key, uint scheme) {
        emitSignal(QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"),
                   QStringLiteral("ssv"), {QStringLiteral("org.freedesktop.appearance"), key, scheme});
    }
};

TEST(DarkPreference, FollowsThePortalsColorSchemeLive) {
    qtApp();
    struct Case {
        const char* what;
        uint scheme;
        bool older;
        std::optional<bool> dark;
    };
    const Case cases[] = {
        {"dark", 1, false, true},
        {"light, from a portal with Read only", 2, true, false},
        {"no preference leaves it to the palette", 0, false, std::nullopt},
    };
    for (const auto& c : cases) {
        PrivateBus bus;
        ASSERT_TRUE(bus.running());
        Portal portal(bus, c.scheme, c.older);
        DarkPreference preference(bus.connect(QStringLiteral("app")));
        int changes = 0;
        QObject::connect(&preference, &DarkPreference::changed, [&changes] { ++changes; });
        spinUntil([&] { return changes > 0; }, c.dark ? 5000 : 500);
        EXPECT_EQ(preference.dark(), c.dark) << c.what;

        const uint flipped = c.scheme == 1 ? 2u : 1u;
        portal.change(QStringLiteral("color-scheme"), flipped);
        portal.change(QStringLiteral("contrast"),
                      c.scheme == 1 ? 1u : 2u);  // another key, that would undo it
        spinUntil([] { return false; }, 300);
        EXPECT_EQ(preference.dark(), flipped == 1) << c.what;
    }
}

}  // namespace
}  // namespace torvel::app::testing
