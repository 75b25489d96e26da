#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "device/power_device.h"

namespace torvel::daemon {

// The battery and mains of a power-supply class directory (/sys/class/power_supply, or a simulated tree),
// read through core's power-supply rules; what this adds is the writing.
class SysfsDevice final : public PowerDevice {
  public:
    explicit SysfsDevice(std::filesystem::path powerSupply);

    // Looks for the battery again; call after a battery appears or disappears.
    void rediscover();
    const std::optional<std::filesystem::path>& batteryDirectory() const { return battery_; }

    DeviceReading read() override;
    DeviceCapabilities capabilities() override;
    std::optional<int> threshold(Threshold which) override;
    WriteError setThreshold(Threshold which, int percent) override;
    std::optional<ChargeBehaviour> behaviour() override;
    WriteError setBehaviour(std::string_view value) override;

  private:
    std::filesystem::path powerSupply_;
    std::optional<std::filesystem::path> battery_;
};

// The failure text names the attribute: "cannot write charge_control_end_threshold: Invalid argument".
WriteError writeAttribute(const std::filesystem::path& file, std::string_view value);
// Whether the attribute exists and its permission bits let someone write it (sysfs marks them 0644).
bool attributeWritable(const std::filesystem::path& file);

}  // namespace torvel::daemon
