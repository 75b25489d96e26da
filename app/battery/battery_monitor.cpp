#include "battery/battery_monitor.h"

#include "battery/sysfs_reader.h"
#include "battery/uevent_watcher.h"

namespace torvel::app {

namespace {
template <typename T>
QVariant variant(const std::optional<T>& value) {
    return value ? QVariant::fromValue(*value) : QVariant();
}
}  // namespace

BatteryMonitor::BatteryMonitor(std::filesystem::path powerSupply, bool watchEvents, QObject* parent)
    : QObject(parent), powerSupply_(std::move(powerSupply)) {
    refresh();
    timer_.setInterval(refreshInterval);
    connect(&timer_, &QTimer::timeout, this, &BatteryMonitor::refresh);
    timer_.start();
    if (watchEvents) {
        events_ = new UeventWatcher(this);
        connect(events_, &UeventWatcher::powerSupplyChanged, this, &BatteryMonitor::refresh);
    }
}

void BatteryMonitor::refresh() {
    const PowerSupplyReading reading = readPowerSupplies(powerSupply_);
    const auto powerSources = reading.powerSources ? readPowerSources(*reading.powerSources) : std::nullopt;
    const auto smart =
        reading.smartBattery ? std::optional(SmartBattery::reading(*reading.smartBattery)) : std::nullopt;
    const BatterySnapshot previous = snapshot_;
    snapshot_ = merge(previous, powerSources, smart);
    if (powerSources) percentageKnown_ = true;
    const bool edge = edge_.observe(previous, snapshot_);
    emit snapshotChanged();
    if (edge) emit pluggedIn();
}

QVariant BatteryMonitor::cycleCount() const {
    return variant(snapshot_.cycleCount);
}
QVariant BatteryMonitor::healthPercent() const {
    return variant(snapshot_.healthPercent);
}
QVariant BatteryMonitor::temperatureCelsius() const {
    return variant(snapshot_.temperatureCelsius);
}
QVariant BatteryMonitor::powerWatts() const {
    return variant(snapshot_.powerWatts);
}
QVariant BatteryMonitor::adapterWatts() const {
    return variant(snapshot_.adapterWatts);
}

}  // namespace torvel::app
