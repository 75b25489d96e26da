#include "device/sysfs_device.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "battery/power_supply.h"
#include "common/syscalls.h"

namespace torvel::daemon {
namespace fs = std::filesystem;

std::string_view thresholdAttribute(Threshold threshold) {
    return threshold == Threshold::start ? "charge_control_start_threshold" : "charge_control_end_threshold";
}

WriteError writeAttribute(const fs::path& file, std::string_view value) {
    const std::string name = file.filename().string();
    // O_TRUNC is a no-op on sysfs and keeps a simulated tree's plain files from keeping stale digits.
    const FileDescriptor fd(
        retryOnInterrupt([&] { return ::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW); }));
    if (!fd.valid()) return systemError("write", name, errno);
    // sysfs takes an attribute in one write; a partial one is refused rather than finished in pieces.
    const ssize_t written = retryOnInterrupt([&] { return ::write(fd.get(), value.data(), value.size()); });
    if (written < 0) return systemError("write", name, errno);
    if (static_cast<std::size_t>(written) != value.size()) return "cannot write " + name + ": short write";
    return std::nullopt;
}

bool attributeWritable(const fs::path& file) {
    struct stat info {};
    if (::lstat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
}

SysfsDevice::SysfsDevice(fs::path powerSupply) : powerSupply_(std::move(powerSupply)) {
    rediscover();
}

void SysfsDevice::rediscover() {
    battery_ = findPowerSupplies(powerSupply_).value_or(PowerSupplies{}).battery;
}

DeviceReading SysfsDevice::read() {
    DeviceReading reading;
    const auto supplies = findPowerSupplies(powerSupply_).value_or(PowerSupplies{});
    reading.plugged = supplies.onMains;
    if (!battery_ || !fs::exists(*battery_)) battery_ = supplies.battery;
    if (!battery_) return reading;
    static_cast<BatteryAttributes&>(reading) = readBatteryAttributes(*battery_);
    return reading;
}

DeviceCapabilities SysfsDevice::capabilities() {
    DeviceCapabilities caps;
    if (!battery_) rediscover();
    if (!battery_) return caps;
    caps.batteryName = battery_->filename().string();
    caps.endThreshold = attributeWritable(*battery_ / thresholdAttribute(Threshold::end));
    caps.startThreshold = attributeWritable(*battery_ / thresholdAttribute(Threshold::start));
    if (attributeWritable(*battery_ / "charge_behaviour")) {
        if (auto parsed = behaviour()) {
            caps.behaviours = parsed->offered;
        } else {
            caps.incomplete = true;
        }
    }
    if (auto temperature = batteryTemperature(*battery_)) caps.temperatureSource = temperature->source;
    return caps;
}

std::optional<int> SysfsDevice::threshold(Threshold which) {
    if (!battery_) return std::nullopt;
    const auto value = readIntegerAttribute(*battery_ / thresholdAttribute(which));
    if (!value || *value < 0 || *value > 100) return std::nullopt;
    return static_cast<int>(*value);
}

WriteError SysfsDevice::setThreshold(Threshold which, int percent) {
    if (!battery_) return "cannot write " + std::string(thresholdAttribute(which)) + ": no battery";
    return writeAttribute(*battery_ / thresholdAttribute(which), std::to_string(percent));
}

std::optional<ChargeBehaviour> SysfsDevice::behaviour() {
    if (!battery_) return std::nullopt;
    const auto text = readAttribute(*battery_ / "charge_behaviour");
    return text ? ChargeBehaviour::parse(*text) : std::nullopt;
}

WriteError SysfsDevice::setBehaviour(std::string_view value) {
    if (!battery_) return "cannot write charge_behaviour: no battery";
    return writeAttribute(*battery_ / "charge_behaviour", value);
}

}  // namespace torvel::daemon
