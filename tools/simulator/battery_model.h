#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/power_device.h"

namespace torvel::sim {

// How the simulated machine behaves: the pack, the charger, and the driver's quirks.
struct BatteryOptions {
    // As the power-supply class names it.
    std::string name = "BAT0";
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
    // A driver that takes only these end thresholds refuses any other with EINVAL; empty takes any.
    std::vector<int> endValues{};
    // Some embedded controllers take force-discharge without cutting the charger.
    bool forceDischargeCuts = true;
    // And some take the thresholds and then charge on regardless.
    bool thresholdsIgnored = false;

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
    std::vector<daemon::DeviceCapabilities> capabilities() override;
    std::optional<int> threshold(std::string_view battery, daemon::Threshold which) override;
    daemon::WriteResult setThreshold(std::string_view battery, daemon::Threshold which, int percent) override;
    std::optional<ChargeBehaviour> behaviour(std::string_view battery) override;
    daemon::WriteResult setBehaviour(std::string_view battery, std::string_view value) override;
    // The same without a name, for the simulator's own tree, which has this one battery.
    std::optional<int> threshold(daemon::Threshold which) { return threshold(options_.name, which); }
    daemon::WriteResult setThreshold(daemon::Threshold which, int percent) {
        return setThreshold(options_.name, which, percent);
    }

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
