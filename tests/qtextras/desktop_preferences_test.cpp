#include "ui/desktop_preferences.h"

#include <gtest/gtest.h>

#include <QDBusVariant>

#include "dbus_mock.h"

namespace torvel::app::testing {
namespace {

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString kde = QStringLiteral("org.kde.kdeglobals.KDE");

// The settings portal as python-dbusmock plays it, knowing the settings in `known` (a Python dict literal of
// (group, key) -> value) and no others; an older portal has Read only, and wraps each value once more.
struct Portal : DbusMock {
    Portal(const PrivateBus& bus, const QString& known, bool older)
        : DbusMock(bus, QStringLiteral("org.freedesktop.portal.Desktop"),
                   QStringLiteral("/org/freedesktop/portal/desktop"),
                   {"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                    "org.freedesktop.portal.Settings"}) {
        const QString answer =
            QStringLiteral(
                "known = %1\n"
                "if (args[0], args[1]) not in known:\n"
                "    raise dbus.exceptions.DBusException('no such setting', "
                "name='org.freedesktop.portal.Error.NotFound')\n"
                "ret = known[(args[0], args[1])]\n")
                .arg(known) +
            (older ? QStringLiteral("ret = type(ret)(ret, variant_level=2)\n") : QString());
        call(QStringLiteral("AddMethod"),
             {QString(), older ? QStringLiteral("Read") : QStringLiteral("ReadOne"), QStringLiteral("ss"),
              QStringLiteral("v"), answer});
    }
    void change(const QString& group, const QString& key, const QVariant& value) {
        emitSignal(QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"),
                   QStringLiteral("ssv"), {group, key, QVariant::fromValue(QDBusVariant(value))});
    }
};

struct Seen {
    std::optional<bool> dark;
    double textScale;
    bool reducedMotion;
};

void expectSeen(const DesktopPreferences& preferences, const Seen& expected, const std::string& what) {
    EXPECT_EQ(preferences.dark(), expected.dark) << what;
    EXPECT_DOUBLE_EQ(preferences.textScale(), expected.textScale) << what;
    EXPECT_EQ(preferences.reducedMotion(), expected.reducedMotion) << what;
}

TEST(DesktopPreferences, FollowsThePortalsSettingsLive) {
    qtApp();
    struct Case {
        const char* what;
        const char* known;
        bool older;
        Seen expected;
    };
    const Case cases[] = {
        {"GNOME: dark, larger text, animations off",
         "{('org.freedesktop.appearance', 'color-scheme'): dbus.UInt32(1),"
         " ('org.gnome.desktop.interface', 'text-scaling-factor'): dbus.Double(1.25),"
         " ('org.gnome.desktop.interface', 'enable-animations'): dbus.Boolean(False)}",
         false,
         {true, 1.25, true}},
        {"KDE through a portal with Read only: light, animations at speed 0, given as text",
         "{('org.freedesktop.appearance', 'color-scheme'): dbus.UInt32(2),"
         " ('org.kde.kdeglobals.KDE', 'AnimationDurationFactor'): dbus.String('0')}",
         true,
         {false, 1.0, true}},
        {"a portal that knows none of them leaves every answer neutral",
         "{('org.freedesktop.appearance', 'color-scheme'): dbus.UInt32(0)}",
         false,
         {std::nullopt, 1.0, false}},
    };
    for (const auto& c : cases) {
        PrivateBus bus;
        ASSERT_TRUE(bus.running());
        Portal portal(bus, QString::fromUtf8(c.known), c.older);
        DesktopPreferences preferences(bus.connect(QStringLiteral("app")));
        spinUntil([] { return false; }, 500);
        expectSeen(preferences, c.expected, c.what);
    }

    // Live: each change arrives as it is made; an implausible factor and other keys change nothing.
    PrivateBus bus;
    ASSERT_TRUE(bus.running());
    Portal portal(bus, QStringLiteral("{}"), false);
    DesktopPreferences preferences(bus.connect(QStringLiteral("app")));
    int announced = 0;
    for (const auto signal : {&DesktopPreferences::darkChanged, &DesktopPreferences::textScaleChanged,
                              &DesktopPreferences::reducedMotionChanged}) {
        QObject::connect(&preferences, signal, [&announced] { ++announced; });
    }
    spinUntil([] { return false; }, 300);
    struct Change {
        QString group;
        QString key;
        QVariant value;
        Seen expected;
        int announced;
    };
    const Change changes[] = {
        {appearance, QStringLiteral("color-scheme"), QVariant::fromValue(1u), {true, 1.0, false}, 1},
        {appearance, QStringLiteral("contrast"), QVariant::fromValue(2u), {true, 1.0, false}, 1},
        {gnome, QStringLiteral("text-scaling-factor"), 1.5, {true, 1.5, false}, 2},
        {gnome, QStringLiteral("text-scaling-factor"), 40.0, {true, 1.5, false}, 2},
        {gnome, QStringLiteral("enable-animations"), false, {true, 1.5, true}, 3},
        {kde, QStringLiteral("AnimationDurationFactor"), 0.0, {true, 1.5, true}, 3},
        {gnome, QStringLiteral("enable-animations"), true, {true, 1.5, true}, 3},
        {kde, QStringLiteral("AnimationDurationFactor"), 0.5, {true, 1.5, false}, 4},
    };
    for (const auto& change : changes) {
        portal.change(change.group, change.key, change.value);
        const std::string what = (change.key + QStringLiteral(" = ") + change.value.toString()).toStdString();
        spinUntil([&] { return announced >= change.announced; }, 2000);
        spinUntil([] { return false; }, 100);
        expectSeen(preferences, change.expected, what);
        EXPECT_EQ(announced, change.announced) << what;
    }
}

}  // namespace
}  // namespace torvel::app::testing
