#include "battery/sysfs_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

#include "common/numbers.h"

namespace torvel {
namespace {

namespace fs = std::filesystem;

// One attribute, trimmed. Attribute files are read with O_NOFOLLOW: the class directory's entries are
// symlinks to their devices, which is expected, but a symlink in place of an attribute is not something
// the kernel makes, so it is never followed.
std::optional<std::string> attribute(const fs::path& supply, const char* name) {
    const fs::path path = supply / name;
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    // Power-supply attributes are one short line; a page is far more than any of them holds.
    char buffer[4096];
    ssize_t count = 0;
    do {
        count = ::read(fd, buffer, sizeof buffer);
    } while (count < 0 && errno == EINTR);
    ::close(fd);
    if (count < 0) return std::nullopt;
    std::string value(buffer, static_cast<std::size_t>(count));
    const auto isSpace = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; };
    while (!value.empty() && isSpace(value.back())) value.pop_back();
    const auto first = std::find_if_not(value.begin(), value.end(), isSpace);
    value.erase(value.begin(), first);
    if (value.empty()) return std::nullopt;
    return value;
}

std::optional<std::int64_t> integerAttribute(const fs::path& supply, const char* name) {
    const auto value = attribute(supply, name);
    if (!value) return std::nullopt;
    std::int64_t number = 0;
    const char* end = value->data() + value->size();
    const auto [stop, error] = std::from_chars(value->data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool isPeripheral(const fs::path& supply) {
    const std::string name = supply.filename().string();
    if (startsWith(name, "hid-") || startsWith(name, "hidpp_battery")) return true;
    return attribute(supply, "scope") == "Device";
}

// usb_type lists every type the port knows with the active one in brackets: "C [PD] PD_PPS".
bool isPowerDelivery(const fs::path& supply, std::string_view type) {
    if (startsWith(type, "USB_PD")) return true;
    if (type != "USB") return false;
    const auto usbType = attribute(supply, "usb_type");
    if (!usbType) return false;
    std::string_view active = *usbType;
    if (const auto open = active.find('['); open != std::string_view::npos) {
        const auto close = active.find(']', open);
        if (close == std::string_view::npos) return false;
        active = active.substr(open + 1, close - open - 1);
    }
    return startsWith(active, "PD");
}

bool suppliesMains(const fs::path& supply, std::string_view type) {
    if (type != "Mains" && !isPowerDelivery(supply, type)) return false;
    return integerAttribute(supply, "online") == 1;
}

// Micro-units to milli-units, halves away from zero.
std::optional<std::int64_t> milli(std::optional<std::int64_t> micro) {
    if (!micro) return std::nullopt;
    return roundedInteger(static_cast<double>(*micro) / 1000.0);
}

// mAh from a charge file (µAh), or from the matching energy file (µWh) over the minimum design voltage (µV),
// which is the voltage the battery's rated charge is quoted at.
std::optional<std::int64_t> capacityMAh(const fs::path& supply, const char* charge, const char* energy) {
    if (auto value = milli(integerAttribute(supply, charge))) return value;
    const auto microWattHours = integerAttribute(supply, energy);
    const auto microVolts = integerAttribute(supply, "voltage_min_design");
    if (!microWattHours || !microVolts || *microVolts <= 0) return std::nullopt;
    return roundedInteger(static_cast<double>(*microWattHours) / static_cast<double>(*microVolts) * 1000.0);
}

PowerSourceKeys describe(const fs::path& battery, bool onMains) {
    PowerSourceKeys keys;
    keys.set("Type", "InternalBattery");
    if (auto capacity = integerAttribute(battery, "capacity")) keys.set("Current Capacity", *capacity);
    // sysfs capacity is already a percentage.
    keys.set("Max Capacity", std::int64_t{100});
    const auto status = attribute(battery, "status");
    if (status) keys.set("Is Charging", *status == "Charging");
    keys.set("Power Source State", onMains ? "AC Power" : "Battery Power");
    return keys;
}

PowerSourceKeys properties(const fs::path& battery) {
    PowerSourceKeys keys;
    // Zero is what drivers report when they do not count cycles.
    if (auto cycles = integerAttribute(battery, "cycle_count"); cycles && *cycles > 0)
        keys.set("CycleCount", *cycles);
    // Tenths of a degree Celsius to tenths of a kelvin; the half tenth is kept so 30.0 °C stays 30.0 °C.
    if (auto temp = integerAttribute(battery, "temp"))
        keys.set("Temperature", static_cast<double>(*temp) + 2731.5);

    const auto microVolts = integerAttribute(battery, "voltage_now");
    const auto millivolts = milli(microVolts);
    if (millivolts) keys.set("Voltage", *millivolts);

    // ACPI reports magnitudes (some drivers sign them), so the direction comes from the status alone; with
    // no readable status the direction is unknown and the current is left out.
    const auto status = attribute(battery, "status");
    std::optional<std::int64_t> milliamps;
    if (auto microAmps = integerAttribute(battery, "current_now")) {
        milliamps = milli(*microAmps < 0 ? -*microAmps : *microAmps);
    } else if (auto microWatts = integerAttribute(battery, "power_now");
               microWatts && microVolts && *microVolts > 0) {
        milliamps = roundedInteger(std::fabs(static_cast<double>(*microWatts)) /
                                   static_cast<double>(*microVolts) * 1000.0);
    }
    if (milliamps && status) keys.set("Amperage", *status == "Discharging" ? -*milliamps : *milliamps);

    if (auto full = capacityMAh(battery, "charge_full", "energy_full"))
        keys.set("AppleRawMaxCapacity", *full);
    if (auto design = capacityMAh(battery, "charge_full_design", "energy_full_design")) {
        keys.set("DesignCapacity", *design);
    }
    return keys;
}

}  // namespace

PowerSupplyReading readPowerSupplies(const fs::path& powerSupply) {
    std::error_code error;
    fs::directory_iterator entries(powerSupply, error);
    if (error) return {};
    std::vector<fs::path> supplies;
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        if (error) return {};
        const fs::path& path = entries->path();
        if (!path.filename().string().starts_with('.')) supplies.push_back(path);
    }
    // Directory order is arbitrary; name order makes BAT0 the battery of a two-battery laptop.
    std::sort(supplies.begin(), supplies.end());

    std::optional<fs::path> battery;
    bool onMains = false;
    for (const auto& supply : supplies) {
        const auto type = attribute(supply, "type");
        if (!type || isPeripheral(supply)) continue;
        if (*type == "Battery") {
            if (!battery) battery = supply;
        } else if (suppliesMains(supply, *type)) {
            onMains = true;
        }
    }

    PowerSupplyReading reading;
    reading.powerSources.emplace();
    if (battery) {
        reading.powerSources->push_back(describe(*battery, onMains));
        reading.smartBattery = properties(*battery);
    }
    return reading;
}

}  // namespace torvel
