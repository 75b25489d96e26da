#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "battery_model.h"

namespace torvel::sim {

// How the tree shows the batteries and the charger, as different drivers do.
struct TreeShape {
    // A fuel gauge without `capacity` or charge counters: energy_now and energy_full only, no design voltage.
    bool energyOnly = false;
    // A Type-C charger that does not speak PD (type USB, usb_type "[C] PD") in place of the AC adapter.
    bool usbCharger = false;
};

// Mirrors simulated batteries (each under its own name: BAT0, BAT1) as a power-supply class directory of
// plain files beside one charger. Writes that others make to the control files are taken to the model, which
// may round, clamp or refuse them as a driver would; a refused write is undone in the file, since a plain
// file cannot fail the write itself. The charger is plugged in as the first battery is.
class SysfsTree {
  public:
    SysfsTree(std::filesystem::path root, SimulatedBattery& battery, TreeShape shape = {})
        : SysfsTree(std::move(root), std::vector<SimulatedBattery*>{&battery}, shape) {}
    SysfsTree(std::filesystem::path root, std::vector<SimulatedBattery*> batteries, TreeShape shape = {})
        : root_(std::move(root)), batteries_(std::move(batteries)), shape_(shape) {}

    // Creates the directories and every attribute; returns a failure text.
    std::optional<std::string> create();
    // Takes what was written to the threshold and behaviour files since the last look.
    void absorbWrites();
    // Writes the model's current state.
    void publish();
    // Refused or adjusted writes since the start, for the simulator's own log.
    const std::vector<std::string>& refusals() const { return refusals_; }

  private:
    void put(const std::filesystem::path& relative, const std::string& text, bool inPlace);
    void absorbWrites(SimulatedBattery& battery);
    void publish(SimulatedBattery& battery);
    std::filesystem::path charger() const;

    std::filesystem::path root_;
    std::vector<SimulatedBattery*> batteries_;
    TreeShape shape_;
    std::map<std::filesystem::path, std::string> shown_;
    std::vector<std::string> refusals_;
};

}  // namespace torvel::sim
