#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/power_device.h"

namespace torvel::sim {

// How the simulated machine behaves: the pack, the charger, and the driver's quirks.
struct BatteryOptions {
    double startPercent = 50;
    double fullChargeMah = 4800;
    double designMah = 5200;
    int cycleCount = 120;

    bool endThreshold = true;
    bool startThreshold = true;
    std::vector<std::string> behaviours{"auto", "inhibit-charge", "force-discharge"};
    // Drivers round thresholds to what the controller takes (a step of 5 on some) and clamp them.
    int thresholdStep = 1;
    int minEnd = 0;
    int minStart = 0;
    int maxStart = 100;
    // Some embedded controllers take force-discharge without cutting the charger.
    bool forceDischargeCuts = true;

    // Percent per hour.
    double chargeRate = 40;
    double drainRate = 12;
    double forcedRate = 25;

    std::optional<double> ambientCelsius = 28.0;
    // How far charging lifts the pack above ambient once it has warmed up.
    double chargingWarmth = 9;
};

// A laptop pack behind the kernel's power-supply rules: start <= end at every moment, thresholds rounded and
// clamped, charge_behaviour bracketed, unknown behaviours refused with EINVAL. Time moves only by advance(),
// so a test or the simulator program chooses the speed.
class SimulatedBattery final : public daemon::PowerDevice {
  public:
    explicit SimulatedBattery(BatteryOptions options = {});

    void advance(double seconds);
    void plug(bool plugged);
    // Extra heat on top of what charging gives, as a hot room or a busy machine would.
    void setExtraHeat(double celsius) { extraHeat_ = celsius; }
    // What ChromeOS-like firmware does at resume or re-insertion.
    void firmwareReset();
    void setPercent(double percent) { charge_ = percent; }

    double percent() const { return charge_; }
    bool plugged() const { return plugged_; }
    bool charging() const;
    std::string status() const;
    std::optional<double> temperature() const;
    int startThresholdValue() const { return start_; }
    int endThresholdValue() const { return end_; }
    const std::string& behaviourValue() const { return behaviour_; }
    const BatteryOptions& options() const { return options_; }
    // Every accepted write, in order ("end=80", "start=75", "behaviour=auto"), for tests of write order.
    const std::vector<std::string>& writes() const { return writes_; }
    void clearWrites() { writes_.clear(); }
    // The bracketed text the kernel shows.
    std::string behaviourText() const;

    daemon::DeviceReading read() override;
    daemon::DeviceCapabilities capabilities() override;
    std::optional<int> threshold(daemon::Threshold which) override;
    daemon::WriteError setThreshold(daemon::Threshold which, int percent) override;
    std::optional<daemon::ChargeBehaviour> behaviour() override;
    daemon::WriteError setBehaviour(std::string_view value) override;

  private:
    void step(double seconds);

    BatteryOptions options_;
    double charge_;
    bool plugged_ = true;
    bool chargeLatch_;
    int start_ = 0;
    int end_ = 100;
    std::string behaviour_ = "auto";
    double warmth_ = 0;
    double extraHeat_ = 0;
    std::vector<std::string> writes_;
};

}  // namespace torvel::sim
