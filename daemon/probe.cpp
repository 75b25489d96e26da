#include "probe.h"

#include "common/json.h"
#include "control/controller.h"
#include "device/sysfs_device.h"

namespace torvel::daemon {

std::string probeJson(const std::filesystem::path& powerSupply) {
    SysfsDevice device(powerSupply);
    json::Value answer = json::Value::object();
    answer["led"] = false;
    if (!device.batteryDirectory()) {
        answer["supported"] = false;
        answer["reason"] = "no-battery";
        return answer.dump();
    }
    const DeviceCapabilities caps = device.capabilities();
    const auto mode = chargeModeOf(caps);
    answer["supported"] = mode.has_value();
    if (mode) {
        answer["mode"] = *mode;
    } else {
        answer["reason"] = "no-control";
    }
    if (caps.offers(behaviourForceDischarge)) answer["discharge"] = std::string(behaviourForceDischarge);

    // Facts for the diagnostic report.
    answer["battery"] = caps.batteryName;
    std::error_code error;
    const auto driver =
        std::filesystem::read_symlink(*device.batteryDirectory() / "device" / "driver", error);
    if (!error) answer["driver"] = driver.filename().string();
    if (auto end = device.threshold(Threshold::end)) answer["endThreshold"] = *end;
    if (auto start = device.threshold(Threshold::start)) answer["startThreshold"] = *start;
    if (!caps.behaviours.empty()) answer["behaviours"] = caps.behaviours;
    answer["temperature"] = caps.temperatureSource.empty() ? "unknown" : caps.temperatureSource;
    return answer.dump(-1, ' ', false, json::Value::error_handler_t::replace);
}

}  // namespace torvel::daemon
