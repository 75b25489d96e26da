#include "device/sysfs_device.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <vector>

namespace torvel::daemon {
namespace fs = std::filesystem;

std::string_view thresholdAttribute(Threshold threshold) {
    return threshold == Threshold::start ? "charge_control_start_threshold" : "charge_control_end_threshold";
}

std::optional<std::string> readAttribute(const fs::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return std::nullopt;
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            ::close(fd);
            if (n < 0) return std::nullopt;
            break;
        }
        text.append(buffer, static_cast<std::size_t>(n));
        if (text.size() > 65536) {
            ::close(fd);
            return std::nullopt;
        }
    }
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text;
}

std::optional<std::int64_t> readIntegerAttribute(const fs::path& file) {
    const auto text = readAttribute(file);
    if (!text || text->empty()) return std::nullopt;
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc{} || end != text->data() + text->size()) return std::nullopt;
    return value;
}

WriteError writeAttribute(const fs::path& file, std::string_view value) {
    const std::string name = file.filename().string();
    // O_TRUNC is a no-op on sysfs and keeps a simulated tree's plain files from keeping stale digits.
    const int fd = ::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return "cannot write " + name + ": " + std::strerror(errno);
    ssize_t written = 0;
    do {
        written = ::write(fd, value.data(), value.size());
    } while (written < 0 && errno == EINTR);
    const int writeErrno = errno;
    ::close(fd);
    if (written < 0) return "cannot write " + name + ": " + std::strerror(writeErrno);
    if (static_cast<std::size_t>(written) != value.size()) return "cannot write " + name + ": short write";
    return std::nullopt;
}

bool attributeWritable(const fs::path& file) {
    struct stat info {};
    if (::lstat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
}

namespace {

bool isSystemBattery(const fs::path& supply) {
    if (readAttribute(supply / "type") != "Battery") return false;
    // Mice and keyboards report a battery of scope Device; their drivers name them hid-* or hidpp_battery*.
    if (readAttribute(supply / "scope") == "Device") return false;
    const std::string name = supply.filename().string();
    return !name.starts_with("hid-") && !name.starts_with("hidpp_battery");
}

std::vector<fs::path> supplies(const fs::path& powerSupply) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator it(powerSupply, error), end; !error && it != end; it.increment(error)) {
        entries.push_back(it->path());
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::optional<std::int64_t> toMah(std::optional<std::int64_t> micro) {
    if (!micro || *micro <= 0) return std::nullopt;
    return *micro / 1000;
}

}  // namespace

SysfsDevice::SysfsDevice(fs::path powerSupply) : powerSupply_(std::move(powerSupply)) {
    rediscover();
}

void SysfsDevice::rediscover() {
    battery_.reset();
    for (const auto& supply : supplies(powerSupply_)) {
        if (isSystemBattery(supply)) {
            battery_ = supply;
            return;
        }
    }
}

bool SysfsDevice::mainsOnline() const {
    for (const auto& supply : supplies(powerSupply_)) {
        const auto type = readAttribute(supply / "type");
        if (!type) continue;
        const bool mains = *type == "Mains";
        const bool deliveringUsb =
            *type == "USB" &&
            readAttribute(supply / "usb_type").value_or("").find("[PD") != std::string::npos;
        if ((mains || deliveringUsb) && readIntegerAttribute(supply / "online") == 1) return true;
    }
    return false;
}

std::optional<double> SysfsDevice::temperature(std::string* source) {
    if (!battery_) return std::nullopt;
    if (auto tenths = readIntegerAttribute(*battery_ / "temp")) {
        if (source) *source = "temp";
        return static_cast<double>(*tenths) / 10.0;
    }
    // Some drivers register the battery's sensor as an hwmon child of the supply, in millidegrees.
    for (const auto& entry : supplies(*battery_)) {
        if (!entry.filename().string().starts_with("hwmon")) continue;
        if (auto milli = readIntegerAttribute(entry / "temp1_input")) {
            if (source) *source = entry.filename().string() + "/temp1_input";
            return static_cast<double>(*milli) / 1000.0;
        }
    }
    for (const auto& zone : supplies(powerSupply_.parent_path() / "thermal")) {
        if (!zone.filename().string().starts_with("thermal_zone")) continue;
        std::string type = readAttribute(zone / "type").value_or("");
        std::transform(type.begin(), type.end(), type.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        if (type.find("bat") == std::string::npos) continue;
        if (auto milli = readIntegerAttribute(zone / "temp")) {
            if (source) *source = zone.filename().string();
            return static_cast<double>(*milli) / 1000.0;
        }
    }
    return std::nullopt;
}

DeviceReading SysfsDevice::read() {
    DeviceReading reading;
    reading.plugged = mainsOnline();
    if (!battery_ || !fs::exists(*battery_)) rediscover();
    if (!battery_) return reading;
    const fs::path& bat = *battery_;
    reading.batteryPresent = readIntegerAttribute(bat / "present").value_or(1) != 0;
    if (auto capacity = readIntegerAttribute(bat / "capacity");
        capacity && *capacity >= 0 && *capacity <= 100) {
        reading.capacity = static_cast<int>(*capacity);
    }
    reading.status = readAttribute(bat / "status").value_or("Unknown");
    reading.temperatureCelsius = temperature(nullptr);
    if (auto current = readIntegerAttribute(bat / "current_now")) {
        reading.currentMicroamps = *current < 0 ? -*current : *current;
    } else if (auto power = readIntegerAttribute(bat / "power_now")) {
        const auto voltage = readIntegerAttribute(bat / "voltage_now");
        if (voltage && *voltage > 0)
            reading.currentMicroamps = (*power < 0 ? -*power : *power) * 1000000 / *voltage;
    }
    reading.fullChargeMah = toMah(readIntegerAttribute(bat / "charge_full"));
    reading.designMah = toMah(readIntegerAttribute(bat / "charge_full_design"));
    if (!reading.fullChargeMah || !reading.designMah) {
        // Energy in µWh over the design minimum voltage in µV is charge in Ah; ×1000 for mAh.
        const auto voltage = readIntegerAttribute(bat / "voltage_min_design");
        if (voltage && *voltage > 0) {
            const auto convert = [&](const char* name) -> std::optional<std::int64_t> {
                const auto energy = readIntegerAttribute(bat / name);
                if (!energy || *energy <= 0) return std::nullopt;
                return *energy * 1000 / *voltage;
            };
            if (!reading.fullChargeMah) reading.fullChargeMah = convert("energy_full");
            if (!reading.designMah) reading.designMah = convert("energy_full_design");
        }
    }
    if (auto cycles = readIntegerAttribute(bat / "cycle_count"); cycles && *cycles > 0)
        reading.cycleCount = cycles;
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
    temperature(&caps.temperatureSource);
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
