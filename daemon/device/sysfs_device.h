#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "device/power_device.h"

namespace torvel::daemon {

// The batteries and mains of a power-supply class directory (/sys/class/power_supply, or a simulated tree),
// read through core's power-supply rules; what this adds is the writing.
class SysfsDevice final : public PowerDevice {
  public:
    explicit SysfsDevice(std::filesystem::path powerSupply) : powerSupply_(std::move(powerSupply)) {}

    DeviceReading read() override;
    std::vector<DeviceCapabilities> capabilities() override;
    std::optional<int> threshold(std::string_view battery, Threshold which) override;
    WriteResult setThreshold(std::string_view battery, Threshold which, int percent) override;
    std::optional<ChargeBehaviour> behaviour(std::string_view battery) override;
    WriteResult setBehaviour(std::string_view battery, std::string_view value) override;

  private:
    // The battery's directory when it is a system battery of this class directory; absent for any other name,
    // so a name never leads a write out of the class directory.
    std::optional<std::filesystem::path> batteryDirectory(std::string_view battery) const;

    std::filesystem::path powerSupply_;
};

// The failure text names the attribute: "cannot write charge_control_end_threshold: Invalid argument".
WriteResult writeAttribute(const std::filesystem::path& file, std::string_view value);

// The unit's ExecStopPost= step: whatever ended the service, every battery's charge_behaviour that can be
// written is set to auto, read or not (a forced discharge or an inhibited charger is never left behind); the
// thresholds stay, so the firmware keeps holding the limit. Returns what failed.
WriteError handBack(const std::filesystem::path& powerSupply);

}  // namespace torvel::daemon
