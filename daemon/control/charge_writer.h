#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "device/power_device.h"

namespace torvel::daemon {

// Puts thresholds and charge_behaviour on one battery, writing only what differs from what is there, and
// reads every write back. It remembers what the driver made of each request, so that a rounded or clamped
// value is not rewritten on every tick, and what it last saw on the device after its own writes, so that a
// value someone else wrote is told apart from one the service wrote.
class ChargeWriter {
  public:
    ChargeWriter(PowerDevice& device, std::string battery) : device_(device), battery_(std::move(battery)) {}

    // A value the driver refuses is replaced by the nearest one it takes (the higher on a tie, as a raised
    // floor is what such drivers have).
    WriteError applyThresholds(const DeviceCapabilities& caps, int start, int end);
    WriteError applyBehaviour(const DeviceCapabilities& caps, std::string_view value);
    // Forgets what was applied, seen and refused, so the next apply writes even values the device seems to
    // hold and a firmware's own reset is not taken for another program.
    void forget();

    // What changed on the device since the service's own last write and read-back
    // ("charge_control_end_threshold 80 → 100"), each change told once; absent when nothing did or the
    // service has not written yet.
    std::optional<std::string> foreignChange(const DeviceCapabilities& caps);
    // Whether another program set charge_behaviour: its value is then left alone until forget().
    bool behaviourTaken() const { return behaviourTaken_; }

    // The lowest end threshold the driver accepted when it raised a lower request; absent until one was.
    std::optional<int> nativeFloor() const { return nativeFloor_; }
    // The end threshold the driver holds for the last request when it is not the one asked.
    std::optional<int> heldEnd() const;
    const std::string& battery() const { return battery_; }

  private:
    struct Applied {
        int start;
        int end;
        int readStart;
        int readEnd;
    };
    struct Seen {
        int start = -1;
        int end = -1;
        std::string behaviour;
    };

    // Writes `value`, or the nearest value the driver takes when it refuses that one; returns what failed.
    WriteError write(Threshold which, int value);
    Seen look(const DeviceCapabilities& caps);

    PowerDevice& device_;
    std::string battery_;
    std::optional<Applied> applied_;
    std::optional<Seen> seen_;
    std::set<int> refusedEnds_;
    std::set<int> refusedStarts_;
    // The request (start, end) the refused values were met under.
    std::optional<std::pair<int, int>> refusedFor_;
    std::optional<int> nativeFloor_;
    bool behaviourTaken_ = false;
};

}  // namespace torvel::daemon
