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

namespace {
const fs::path endFile = "BAT0/charge_control_end_threshold";
const fs::path startFile = "BAT0/charge_control_start_threshold";
const fs::path behaviourFile = "BAT0/charge_behaviour";
}  // namespace

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
    fs::create_directories(root_ / "BAT0", error);
    if (!error) fs::create_directories(root_ / "AC", error);
    if (error) return systemError("create", root_.string(), error.value());
    put("BAT0/type", "Battery", false);
    put("BAT0/present", "1", false);
    put("BAT0/technology", "Li-ion", false);
    put("BAT0/manufacturer", "Torvel", false);
    put("BAT0/model_name", "Simulated pack", false);
    put("AC/type", "Mains", false);
    const auto& options = battery_.options();
    put("BAT0/charge_full", std::to_string(static_cast<long>(options.fullChargeMah * 1000)), false);
    put("BAT0/charge_full_design", std::to_string(static_cast<long>(options.designMah * 1000)), false);
    put("BAT0/cycle_count", std::to_string(options.cycleCount), false);
    put("BAT0/voltage_min_design", "11400000", false);
    publish();
    return std::nullopt;
}

void SysfsTree::absorbWrites() {
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
            return battery_.setThreshold(which, std::stoi(text));
        } catch (...) {
            return daemon::WriteFailure{
                "cannot write " + std::string(daemon::thresholdAttribute(which)) + ": Invalid argument",
                true};
        }
    };

    const auto& options = battery_.options();
    if (options.endThreshold) {
        const auto end = written(endFile);
        const auto start = options.startThreshold ? written(startFile) : std::nullopt;
        // The kernel took the two writes one at a time, each keeping start <= end; both may land between two
        // looks here, so take them in the order that kept the range valid: down means start first.
        const bool startFirst = start && end && std::atoi(start->c_str()) <= battery_.endThresholdValue() &&
                                std::atoi(end->c_str()) < battery_.startThresholdValue();
        if (startFirst) settle(startFile, setThreshold(Threshold::start, *start));
        if (end) settle(endFile, setThreshold(Threshold::end, *end));
        if (start && !startFirst) settle(startFile, setThreshold(Threshold::start, *start));
    }
    if (!options.behaviours.empty()) {
        if (const auto behaviour = written(behaviourFile))
            settle(behaviourFile, battery_.setBehaviour(battery_.options().name, *behaviour));
    }
}

void SysfsTree::publish() {
    const auto& options = battery_.options();
    if (options.endThreshold) {
        put(endFile, std::to_string(battery_.endThresholdValue()), true);
        if (options.startThreshold) put(startFile, std::to_string(battery_.startThresholdValue()), true);
    }
    if (!options.behaviours.empty()) put(behaviourFile, battery_.behaviourText(), true);
    const auto reading = battery_.read();
    put("BAT0/capacity", std::to_string(reading.capacity.value_or(0)), false);
    put("BAT0/status", reading.status.value_or("Unknown"), false);
    put("BAT0/current_now", std::to_string(reading.currentMicroamps.value_or(0)), false);
    put("BAT0/voltage_now", std::to_string(11400000 + static_cast<long>(battery_.percent() * 15000)), false);
    put("BAT0/charge_now", std::to_string(static_cast<long>(options.fullChargeMah * 10 * battery_.percent())),
        false);
    if (auto temp = battery_.temperature()) put("BAT0/temp", std::to_string(std::lround(*temp * 10)), false);
    put("AC/online", battery_.plugged() ? "1" : "0", false);
}

}  // namespace torvel::sim
