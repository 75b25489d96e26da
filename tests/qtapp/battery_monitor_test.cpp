#include "battery/battery_monitor.h"

#include <gtest/gtest.h>

#include <fstream>

#include "battery/uevent_watcher.h"
#include "qt_support.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;
using testing::qtApp;
using testing::TempDir;

const fs::path machines = fs::path(TORVEL_FIXTURES) / "power_supply";

void write(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text << '\n';
}

// A copy of a fixture machine that a test may plug and unplug.
struct Machine {
    TempDir dir;
    explicit Machine(const char* name) { fs::copy(machines / name, dir.path(), fs::copy_options::recursive); }
    fs::path path() const { return dir.path(); }
};

TEST(BatteryMonitor, FirstReadingIsPublishedAtConstructionAndNeverCountsAsPlugIn) {
    qtApp();
    Machine machine("laptop_charging");
    BatteryMonitor monitor(machine.path(), false);
    int plugIns = 0;
    QObject::connect(&monitor, &BatteryMonitor::pluggedIn, [&] { ++plugIns; });

    EXPECT_EQ(monitor.percentage(), 57);
    EXPECT_TRUE(monitor.isPluggedIn());
    EXPECT_EQ(monitor.cycleCount(), QVariant::fromValue<std::int64_t>(123));
    monitor.refresh();
    EXPECT_EQ(plugIns, 0);
    EXPECT_EQ(monitor.timer().intervalAsDuration(), std::chrono::milliseconds(15'000));
    EXPECT_TRUE(monitor.timer().isActive());
}

TEST(BatteryMonitor, PlugInEdgeIsAnnouncedOnceAndUnplugIsNot) {
    qtApp();
    Machine machine("thinkpad_discharging");
    BatteryMonitor monitor(machine.path(), false);
    int plugIns = 0;
    QObject::connect(&monitor, &BatteryMonitor::pluggedIn, [&] { ++plugIns; });
    ASSERT_FALSE(monitor.isPluggedIn());

    write(machine.path() / "AC/online", "1");
    monitor.refresh();
    monitor.refresh();
    EXPECT_EQ(plugIns, 1);

    write(machine.path() / "AC/online", "0");
    monitor.refresh();
    write(machine.path() / "AC/online", "1");
    monitor.refresh();
    EXPECT_EQ(plugIns, 2);
}

TEST(BatteryMonitor, UnreadableAbsentValuesStayAbsentAndAFailedReadKeepsTheLastCharge) {
    qtApp();
    Machine machine("laptop_charging");
    BatteryMonitor monitor(machine.path(), false);
    int published = 0;
    QObject::connect(&monitor, &BatteryMonitor::snapshotChanged, [&] { ++published; });

    fs::remove(machine.path() / "BAT0/temp");
    monitor.refresh();
    EXPECT_FALSE(monitor.temperatureCelsius().isValid()) << "an unread temperature is absent, not 0";

    fs::remove_all(machine.path());
    monitor.refresh();
    EXPECT_EQ(monitor.percentage(), 57);
    EXPECT_TRUE(monitor.isPluggedIn());
    EXPECT_EQ(published, 2) << "every refresh publishes, changed or not";
}

// The kernel sends KEY=value fields separated by NUL bytes.
QByteArray event(std::initializer_list<const char*> fields) {
    QByteArray payload;
    for (const char* field : fields) payload.append(field).append('\0');
    return payload;
}

TEST(UeventWatcher, OnlyPowerSupplyEventsCount) {
    struct Case {
        const char* name;
        QByteArray payload;
        bool counts;
    };
    const Case cases[] = {
        {"charger",
         event({"change@/devices/ACPI0003:00/power_supply/AC", "ACTION=change", "SUBSYSTEM=power_supply",
                "POWER_SUPPLY_ONLINE=1"}),
         true},
        {"usb stick", event({"add@/devices/usb1", "ACTION=add", "SUBSYSTEM=usb"}), false},
        {"key inside another value", event({"ACTION=change", "DEVPATH=/SUBSYSTEM=power_supply"}), false},
        {"empty", QByteArray(), false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(UeventWatcher::isPowerSupplyEvent(c.payload), c.counts) << c.name;
    }
}

}  // namespace
}  // namespace torvel::app
