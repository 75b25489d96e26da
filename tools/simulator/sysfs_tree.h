#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "battery_model.h"

namespace torvel::sim {

// Mirrors a SimulatedBattery as a power-supply class directory (BAT0 and AC) of plain files. Writes that
// others make to the control files are taken to the model, which may round, clamp or refuse them as a
// driver would; a refused write is undone in the file, since a plain file cannot fail the write itself.
class SysfsTree {
  public:
    SysfsTree(std::filesystem::path root, SimulatedBattery& battery)
        : root_(std::move(root)), battery_(battery) {}

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

    std::filesystem::path root_;
    SimulatedBattery& battery_;
    std::map<std::filesystem::path, std::string> shown_;
    std::vector<std::string> refusals_;
};

}  // namespace torvel::sim
