#include "battery/power_supply.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>

#include "common/numbers.h"
#include "common/syscalls.h"

namespace torvel {
namespace fs = std::filesystem;

namespace {

// The kernel hands out at most a page per attribute; more than that is not an attribute.
constexpr std::size_t attributeLimit = 4096;

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

std::optional<std::int64_t> positive(std::optional<std::int64_t> value) {
    if (!value || *value <= 0) return std::nullopt;
    return value;
}

// One rule for every micro-to-milli conversion: halves away from zero.
std::optional<std::int64_t> milli(std::optional<std::int64_t> micro) {
    if (!micro) return std::nullopt;
    return roundedInteger(static_cast<double>(*micro) / 1000.0);
}

// usb_type lists every type the port knows with the active one in brackets: "C [PD] PD_PPS".
bool deliversPower(const fs::path& supply, std::string_view type) {
    if (type.starts_with("USB_PD")) return true;
    if (type != "USB") return false;
    const auto usbType = readAttribute(supply / "usb_type");
    if (!usbType) return false;
    std::string_view active = *usbType;
    if (const auto open = active.find('['); open != std::string_view::npos) {
        const auto close = active.find(']', open);
        if (close == std::string_view::npos) return false;
        active = active.substr(open + 1, close - open - 1);
    }
    return active.starts_with("PD");
}

bool isPeripheral(const fs::path& supply) {
    const std::string name = supply.filename().string();
    if (name.starts_with("hid-") || name.starts_with("hidpp_battery")) return true;
    return readAttribute(supply / "scope") == "Device";
}

// mAh from a charge file (µAh), or from the matching energy file (µWh) over the minimum design voltage (µV),
// which is the voltage the battery's rated charge is quoted at.
std::optional<std::int64_t> capacityMah(const fs::path& battery, const char* charge, const char* energy) {
    if (auto value = positive(milli(readIntegerAttribute(battery / charge)))) return value;
    const auto microWattHours = positive(readIntegerAttribute(battery / energy));
    const auto microVolts = positive(readIntegerAttribute(battery / "voltage_min_design"));
    if (!microWattHours || !microVolts) return std::nullopt;
    return positive(
        roundedInteger(static_cast<double>(*microWattHours) / static_cast<double>(*microVolts) * 1000.0));
}

std::optional<std::int64_t> currentMicroamps(const fs::path& battery,
                                             std::optional<std::int64_t> microVolts) {
    if (auto microAmps = readIntegerAttribute(battery / "current_now"))
        return *microAmps < 0 ? -*microAmps : *microAmps;
    const auto microWatts = readIntegerAttribute(battery / "power_now");
    if (!microWatts || !microVolts) return std::nullopt;
    return roundedInteger(std::fabs(static_cast<double>(*microWatts)) / static_cast<double>(*microVolts) *
                          1e6);
}

}  // namespace

std::optional<std::string> readAttribute(const fs::path& file) {
    const FileDescriptor fd(retryOnInterrupt(
        [&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK); }));
    if (!fd.valid()) return std::nullopt;
    std::string text;
    char buffer[attributeLimit + 1];
    for (;;) {
        const ssize_t count = retryOnInterrupt([&] { return ::read(fd.get(), buffer, sizeof buffer); });
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > attributeLimit) return std::nullopt;
    }
    while (!text.empty() && isSpace(text.back())) text.pop_back();
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isSpace));
    if (text.empty()) return std::nullopt;
    return text;
}

std::optional<std::int64_t> readIntegerAttribute(const fs::path& file) {
    const auto text = readAttribute(file);
    if (!text) return std::nullopt;
    std::int64_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<std::vector<fs::path>> listSupplies(const fs::path& directory) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) return std::nullopt;
    std::vector<fs::path> supplies;
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        if (error) return std::nullopt;
        const fs::path& path = entries->path();
        if (!path.filename().string().starts_with('.')) supplies.push_back(path);
    }
    // Directory order is arbitrary; name order keeps the choice of battery stable.
    std::sort(supplies.begin(), supplies.end());
    return supplies;
}

bool isSystemBattery(const fs::path& supply) {
    return readAttribute(supply / "type") == "Battery" && !isPeripheral(supply);
}

bool suppliesMains(const fs::path& supply) {
    const auto type = readAttribute(supply / "type");
    if (!type || (*type != "Mains" && !deliversPower(supply, *type))) return false;
    // A port that charges a phone (scope Device) is not powering the machine.
    return !isPeripheral(supply) && readIntegerAttribute(supply / "online") == 1;
}

std::optional<PowerSupplies> findPowerSupplies(const fs::path& powerSupply) {
    const auto supplies = listSupplies(powerSupply);
    if (!supplies) return std::nullopt;
    PowerSupplies found;
    for (const auto& supply : *supplies) {
        if (!found.battery && isSystemBattery(supply)) {
            found.battery = supply;
        } else if (!found.onMains && suppliesMains(supply)) {
            found.onMains = true;
        }
    }
    return found;
}

std::optional<BatteryTemperature> batteryTemperature(const fs::path& battery) {
    if (auto tenths = readIntegerAttribute(battery / "temp"))
        return BatteryTemperature{static_cast<double>(*tenths) / 10.0, "temp"};
    for (const auto& entry : listSupplies(battery).value_or(std::vector<fs::path>{})) {
        const std::string name = entry.filename().string();
        if (!name.starts_with("hwmon")) continue;
        if (auto milli = readIntegerAttribute(entry / "temp1_input"))
            return BatteryTemperature{static_cast<double>(*milli) / 1000.0, name + "/temp1_input"};
    }
    const fs::path thermal = battery.parent_path().parent_path() / "thermal";
    for (const auto& zone : listSupplies(thermal).value_or(std::vector<fs::path>{})) {
        const std::string name = zone.filename().string();
        if (!name.starts_with("thermal_zone")) continue;
        std::string type = readAttribute(zone / "type").value_or("");
        std::transform(type.begin(), type.end(), type.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (type.find("bat") == std::string::npos) continue;
        if (auto milli = readIntegerAttribute(zone / "temp"))
            return BatteryTemperature{static_cast<double>(*milli) / 1000.0, name};
    }
    return std::nullopt;
}

std::optional<std::int64_t> BatteryAttributes::signedCurrentMilliamps() const {
    const auto milliamps = milli(currentMicroamps);
    if (!milliamps || !status) return std::nullopt;
    return *status == "Discharging" ? -*milliamps : *milliamps;
}

BatteryAttributes readBatteryAttributes(const fs::path& battery) {
    BatteryAttributes attributes;
    attributes.batteryPresent = readIntegerAttribute(battery / "present").value_or(1) != 0;
    if (auto capacity = readIntegerAttribute(battery / "capacity");
        capacity && *capacity >= 0 && *capacity <= 100)
        attributes.capacity = static_cast<int>(*capacity);
    attributes.status = readAttribute(battery / "status");
    attributes.cycleCount = positive(readIntegerAttribute(battery / "cycle_count"));
    const auto microVolts = positive(readIntegerAttribute(battery / "voltage_now"));
    attributes.voltageMillivolts = milli(microVolts);
    attributes.currentMicroamps = currentMicroamps(battery, microVolts);
    attributes.fullChargeMah = capacityMah(battery, "charge_full", "energy_full");
    attributes.designMah = capacityMah(battery, "charge_full_design", "energy_full_design");
    if (auto temperature = batteryTemperature(battery)) attributes.temperatureCelsius = temperature->celsius;
    return attributes;
}

}  // namespace torvel
