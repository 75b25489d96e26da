#include "sysfs_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "battery/power_supply.h"
#include "common/syscalls.h"
#include "device/sysfs_device.h"

namespace torvel::sim {
namespace fs = std::filesystem;
using daemon::Threshold;

fs::path SysfsTree::charger() const {
    return shape_.usbCharger ? "ucsi-source-psy-USBC000:001" : "AC";
}

void SysfsTree::put(const fs::path& relative, const std::string& text, bool inPlace) {
    const auto found = shown_.find(relative);
    if (found != shown_.end() && found->second == text) return;
    const fs::path target = root_ / relative;
    const std::string bytes = text + "\n";
    if (inPlace) {
        // Control files keep their inode: the service may have one open for writing at this moment.
        const FileDescriptor fd(retryOnInterrupt(
            [&] { return ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644); }));
        // A failed write shows as a stale value, which the next publish puts right.
        if (fd.valid()) writeAll(fd.get(), bytes);
    } else {
        // Readings are swapped in whole, so a reader never sees an empty attribute.
        const fs::path temporary = target.string() + ".new";
        std::ofstream(temporary, std::ios::trunc) << bytes;
        fs::rename(temporary, target);
    }
    shown_[relative] = text;
}

std::optional<std::string> SysfsTree::create() {
    std::error_code error;
    fs::create_directories(root_ / charger(), error);
    for (const auto* battery : batteries_) {
        if (!error) fs::create_directories(root_ / battery->options().name, error);
    }
    if (error) return systemError("create", root_.string(), error.value());
    if (shape_.usbCharger) {
        put(charger() / "type", "USB", false);
        put(charger() / "usb_type", "[C] PD", false);
    } else {
        put(charger() / "type", "Mains", false);
    }
    for (const auto* battery : batteries_) {
        const fs::path name = battery->options().name;
        const auto& options = battery->options();
        put(name / "type", "Battery", false);
        put(name / "present", "1", false);
        put(name / "technology", "Li-ion", false);
        put(name / "manufacturer", "Torvel", false);
        put(name / "model_name", "Simulated pack", false);
        put(name / "cycle_count", std::to_string(options.cycleCount), false);
        if (shape_.energyOnly) {
            // The same pack counted in µWh at its nominal 11.4 V, which this gauge does not tell.
            put(name / "energy_full", std::to_string(static_cast<long>(options.fullChargeMah * 11400)),
                false);
            put(name / "energy_full_design", std::to_string(static_cast<long>(options.designMah * 11400)),
                false);
        } else {
            put(name / "charge_full", std::to_string(static_cast<long>(options.fullChargeMah * 1000)), false);
            put(name / "charge_full_design", std::to_string(static_cast<long>(options.designMah * 1000)),
                false);
            put(name / "voltage_min_design", "11400000", false);
        }
    }
    publish();
    return std::nullopt;
}

void SysfsTree::absorbWrites() {
    for (auto* battery : batteries_) absorbWrites(*battery);
}

void SysfsTree::publish() {
    for (auto* battery : batteries_) publish(*battery);
    put(charger() / "online", batteries_.front()->plugged() ? "1" : "0", false);
}

void SysfsTree::absorbWrites(SimulatedBattery& battery) {
    const fs::path name = battery.options().name;
    const fs::path endFile = name / "charge_control_end_threshold";
    const fs::path startFile = name / "charge_control_start_threshold";
    const fs::path behaviourFile = name / "charge_behaviour";
    // What the service wrote since the last look, if anything: the file no longer shows what we published.
    const auto written = [&](const fs::path& relative) -> std::optional<std::string> {
        const auto shown = shown_.find(relative);
        const auto now = readAttribute(root_ / relative);
        // An empty file is a write caught between its truncation and its bytes: look again next time.
        if (!now || now->empty() || shown == shown_.end() || *now == shown->second) return std::nullopt;
        return now;
    };
    const auto settle = [&](const fs::path& relative, const daemon::WriteResult& refused) {
        if (refused) refusals_.push_back(refused->text);
        shown_.erase(relative);  // republish whatever the model made of it
    };
    const auto setThreshold = [&](Threshold which, const std::string& text) -> daemon::WriteResult {
        try {
            return battery.setThreshold(which, std::stoi(text));
        } catch (...) {
            return daemon::WriteFailure{
                "cannot write " + std::string(daemon::thresholdAttribute(which)) + ": Invalid argument",
                true};
        }
    };

    const auto& options = battery.options();
    if (options.endThreshold) {
        const auto end = written(endFile);
        const auto start = options.startThreshold ? written(startFile) : std::nullopt;
        // The kernel took the two writes one at a time, each keeping start <= end; both may land between two
        // looks here, so take them in the order that kept the range valid: down means start first.
        const bool startFirst = start && end && std::atoi(start->c_str()) <= battery.endThresholdValue() &&
                                std::atoi(end->c_str()) < battery.startThresholdValue();
        if (startFirst) settle(startFile, setThreshold(Threshold::start, *start));
        if (end) settle(endFile, setThreshold(Threshold::end, *end));
        if (start && !startFirst) settle(startFile, setThreshold(Threshold::start, *start));
    }
    if (!options.behaviours.empty()) {
        if (const auto behaviour = written(behaviourFile))
            settle(behaviourFile, battery.setBehaviour(battery.options().name, *behaviour));
    }
}

void SysfsTree::publish(SimulatedBattery& battery) {
    const auto& options = battery.options();
    const fs::path name = options.name;
    if (options.endThreshold) {
        put(name / "charge_control_end_threshold", std::to_string(battery.endThresholdValue()), true);
        if (options.startThreshold)
            put(name / "charge_control_start_threshold", std::to_string(battery.startThresholdValue()), true);
    }
    if (!options.behaviours.empty()) put(name / "charge_behaviour", battery.behaviourText(), true);
    const auto reading = battery.read();
    const double percent = battery.percent();
    const long microVolts = 11400000 + static_cast<long>(percent * 15000);
    put(name / "status", reading.status.value_or("Unknown"), false);
    if (shape_.energyOnly) {
        // A signed gauge: negative out of the battery, and power rather than current.
        const long microAmps =
            reading.currentMicroamps.value_or(0) * (reading.status == "Discharging" ? -1 : 1);
        put(name / "power_now", std::to_string(microAmps / 1000 * microVolts / 1000), false);
        put(name / "energy_now", std::to_string(static_cast<long>(options.fullChargeMah * 114 * percent)),
            false);
    } else {
        put(name / "capacity", std::to_string(reading.capacity.value_or(0)), false);
        put(name / "current_now", std::to_string(reading.currentMicroamps.value_or(0)), false);
        put(name / "voltage_now", std::to_string(microVolts), false);
        put(name / "charge_now", std::to_string(static_cast<long>(options.fullChargeMah * 10 * percent)),
            false);
    }
    if (auto temp = battery.temperature()) put(name / "temp", std::to_string(std::lround(*temp * 10)), false);
}

}  // namespace torvel::sim
