#include "device/sysfs_device.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "common/syscalls.h"

namespace torvel::daemon {
namespace fs = std::filesystem;

std::string_view thresholdAttribute(Threshold threshold) {
    return threshold == Threshold::start ? "charge_control_start_threshold" : "charge_control_end_threshold";
}

WriteResult writeAttribute(const fs::path& file, std::string_view value) {
    const std::string name = file.filename().string();
    const auto failure = [&](int code) {
        return WriteFailure{systemError("write", name, code), code == EINVAL};
    };
    // O_TRUNC is a no-op on sysfs and keeps a simulated tree's plain files from keeping stale digits.
    const FileDescriptor fd(
        retryOnInterrupt([&] { return ::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW); }));
    if (!fd.valid()) return failure(errno);
    // sysfs takes an attribute in one write; a partial one is refused rather than finished in pieces.
    const ssize_t written = retryOnInterrupt([&] { return ::write(fd.get(), value.data(), value.size()); });
    if (written < 0) return failure(errno);
    if (static_cast<std::size_t>(written) != value.size())
        return WriteFailure{"cannot write " + name + ": short write"};
    return std::nullopt;
}

std::optional<fs::path> SysfsDevice::batteryDirectory(std::string_view battery) const {
    if (battery.empty() || battery.find('/') != std::string_view::npos || battery.starts_with('.'))
        return std::nullopt;
    const fs::path directory = powerSupply_ / battery;
    if (!isSystemBattery(directory)) return std::nullopt;
    return directory;
}

DeviceReading SysfsDevice::read() {
    DeviceReading reading;
    const auto supplies = findPowerSupplies(powerSupply_).value_or(PowerSupplies{});
    reading.plugged = supplies.onMains;
    for (const auto& battery : supplies.batteries) {
        BatteryAttributes attributes = readBatteryAttributes(battery);
        if (attributes.batteryPresent) reading.batteries.push_back(std::move(attributes));
    }
    static_cast<BatteryAttributes&>(reading) = combineBatteries(reading.batteries);
    return reading;
}

std::vector<DeviceCapabilities> SysfsDevice::capabilities() {
    std::vector<DeviceCapabilities> all;
    for (const auto& battery : findPowerSupplies(powerSupply_).value_or(PowerSupplies{}).batteries) {
        if (readIntegerAttribute(battery / "present").value_or(1) == 0) continue;
        DeviceCapabilities caps;
        static_cast<BatteryControls&>(caps) = readBatteryControls(battery);
        caps.batteryName = battery.filename().string();
        if (auto temperature = batteryTemperature(battery)) caps.temperatureSource = temperature->source;
        all.push_back(std::move(caps));
    }
    return all;
}

std::optional<int> SysfsDevice::threshold(std::string_view battery, Threshold which) {
    const auto directory = batteryDirectory(battery);
    if (!directory) return std::nullopt;
    const auto value = readIntegerAttribute(*directory / thresholdAttribute(which));
    if (!value || *value < 0 || *value > 100) return std::nullopt;
    return static_cast<int>(*value);
}

WriteResult SysfsDevice::setThreshold(std::string_view battery, Threshold which, int percent) {
    const auto directory = batteryDirectory(battery);
    if (!directory)
        return WriteFailure{"cannot write " + std::string(thresholdAttribute(which)) + ": no battery"};
    return writeAttribute(*directory / thresholdAttribute(which), std::to_string(percent));
}

std::optional<ChargeBehaviour> SysfsDevice::behaviour(std::string_view battery) {
    const auto directory = batteryDirectory(battery);
    if (!directory) return std::nullopt;
    const auto text = readAttribute(*directory / "charge_behaviour");
    return text ? ChargeBehaviour::parse(*text) : std::nullopt;
}

WriteResult SysfsDevice::setBehaviour(std::string_view battery, std::string_view value) {
    const auto directory = batteryDirectory(battery);
    if (!directory) return WriteFailure{"cannot write charge_behaviour: no battery"};
    return writeAttribute(*directory / "charge_behaviour", value);
}

WriteError handBack(const fs::path& powerSupply) {
    WriteError error;
    for (const auto& battery : findPowerSupplies(powerSupply).value_or(PowerSupplies{}).batteries) {
        const fs::path file = battery / "charge_behaviour";
        if (!attributeWritable(file)) continue;
        // Unreadable is no reason to skip: a half-written or garbled value may be the very thing to undo.
        const auto text = readAttribute(file);
        const auto current = text ? ChargeBehaviour::parse(*text) : std::nullopt;
        if (current && current->current == behaviourAuto) continue;
        if (auto failure = writeAttribute(file, behaviourAuto); failure && !error) error = failure->text;
    }
    return error;
}

}  // namespace torvel::daemon
