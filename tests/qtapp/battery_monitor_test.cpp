#include "battery/battery_monitor.h"

#include <gtest/gtest.h>

#include "battery/uevent_watcher.h"
#include "qt_support.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;

// A copy of the charging fixture machine that a test may plug, unplug and break.
struct Machine {
    testing::TempDir dir;
    std::unique_ptr<BatteryMonitor> monitor;
    int plugIns = 0;
    int published = 0;

    Machine() {
        testing::qtApp();
        fs::copy(fs::path(TORVEL_FIXTURES) / "power_supply/laptop_charging", dir.path(),
                 fs::copy_options::recursive);
        monitor = std::make_unique<BatteryMonitor>(dir.path(), false);
        QObject::connect(monitor.get(), &BatteryMonitor::pluggedIn, [this] { ++plugIns; });
        QObject::connect(monitor.get(), &BatteryMonitor::snapshotChanged, [this] { ++published; });
    }
    void plug(bool online) {
        std::ofstream(dir.path() / "ADP1/online") << online << '\n';
        monitor->refresh();
    }
};

TEST(BatteryMonitor, PlugInEdgeIsAnnouncedOnceAndNeitherTheFirstReadingNorUnplugCount) {
    Machine machine;
    EXPECT_EQ(machine.monitor->percentage(), 57);
    EXPECT_TRUE(machine.monitor->isPluggedIn());
    EXPECT_EQ(machine.monitor->cycleCount(), QVariant::fromValue<std::int64_t>(123));
    EXPECT_EQ(machine.monitor->timer().intervalAsDuration(), std::chrono::milliseconds(15'000));
    EXPECT_TRUE(machine.monitor->timer().isActive());
    machine.plug(true);
    EXPECT_EQ(machine.plugIns, 0);
    machine.plug(false);
    machine.plug(true);
    machine.plug(true);
    EXPECT_EQ(machine.plugIns, 1);
}

TEST(BatteryMonitor, UnreadableValuesStayAbsentAndAFailedReadKeepsTheLastCharge) {
    Machine machine;
    fs::remove(machine.dir.path() / "BAT0/temp");
    machine.monitor->refresh();
    EXPECT_FALSE(machine.monitor->temperatureCelsius().isValid()) << "an unread temperature is absent, not 0";
    fs::remove_all(machine.dir.path());
    machine.monitor->refresh();
    EXPECT_EQ(machine.monitor->percentage(), 57);
    EXPECT_TRUE(machine.monitor->isPluggedIn());
    EXPECT_EQ(machine.published, 2) << "every refresh publishes, changed or not";
    EXPECT_TRUE(machine.monitor->percentageKnown()) << "the last charge read still stands";

    testing::TempDir noBattery;
    EXPECT_FALSE(BatteryMonitor(noBattery.path(), false).percentageKnown())
        << "0% is a placeholder, not a charge";
}

TEST(UeventWatcher, OnlyPowerSupplyEventsCount) {
    // The kernel sends KEY=value fields separated by NUL bytes.
    const auto event = [](std::initializer_list<const char*> fields) {
        QByteArray payload;
        for (const char* field : fields) payload.append(field).append('\0');
        return payload;
    };
    const std::pair<QByteArray, bool> cases[] = {
        {event({"change@/devices/ACPI0003:00/power_supply/AC", "ACTION=change", "SUBSYSTEM=power_supply",
                "POWER_SUPPLY_ONLINE=1"}),
         true},
        {event({"add@/devices/usb1", "ACTION=add", "SUBSYSTEM=usb"}), false},
        {event({"ACTION=change", "DEVPATH=/SUBSYSTEM=power_supply"}), false},  // the key inside another value
        {QByteArray(), false},
    };
    for (const auto& [payload, counts] : cases) EXPECT_EQ(UeventWatcher::isPowerSupplyEvent(payload), counts);
}

}  // namespace
}  // namespace torvel::app
