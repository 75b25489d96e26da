#include "probe.h"

#include "common/json.h"
#include "device/sysfs_device.h"

namespace torvel::daemon {

std::string probeJson(const std::filesystem::path& powerSupply) {
    SysfsDevice device(powerSupply);
    json::Value answer = json::Value::object();
    answer["led"] = false;
    const std::vector<DeviceCapabilities> all = device.capabilities();
    if (all.empty()) {
        answer["supported"] = false;
        answer["reason"] = "no-battery";
        return answer.dump();
    }
    // The facts are the first battery's that can hold a limit (BAT1 when BAT0's bay has one that cannot), or
    // the first battery's when none can.
    const DeviceCapabilities* chosen = &all.front();
    std::vector<std::string> held;
    for (const auto& caps : all) {
        if (!caps.mode()) continue;
        if (held.empty()) chosen = &caps;
        held.push_back(caps.batteryName);
    }
    const DeviceCapabilities& caps = *chosen;
    const auto mode = caps.mode();
    answer["supported"] = mode.has_value();
    if (mode) {
        answer["mode"] = *mode;
    } else {
        answer["reason"] = "no-control";
    }
    if (caps.offers(behaviourForceDischarge)) answer["discharge"] = std::string(behaviourForceDischarge);

    // Facts for the diagnostic report.
    answer["battery"] = caps.batteryName;
    if (held.size() > 1) answer["batteries"] = held;
    std::error_code error;
    const auto driver =
        std::filesystem::read_symlink(powerSupply / caps.batteryName / "device" / "driver", error);
    if (!error) answer["driver"] = driver.filename().string();
    if (auto end = device.threshold(caps.batteryName, Threshold::end)) answer["endThreshold"] = *end;
    if (auto start = device.threshold(caps.batteryName, Threshold::start)) answer["startThreshold"] = *start;
    if (!caps.behaviours.empty()) answer["behaviours"] = caps.behaviours;
    answer["temperature"] = caps.temperatureSource.empty() ? "unknown" : caps.temperatureSource;
    return answer.dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

}  // namespace torvel::daemon
