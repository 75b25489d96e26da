#pragma once

#include <optional>
#include <string_view>

#include "common/dates.h"
#include "device/power_device.h"

namespace torvel::daemon {

// Forced discharge is only trusted while it visibly works: some embedded controllers accept the word and
// keep charging, others never stop on their own. This decides, tick by tick, whether force-discharge should
// be on the device.
class DischargeSupervisor {
  public:
    // Time the battery has to start discharging after force-discharge was written.
    static constexpr double takeHoldSeconds = 15;

    // `wanted`: the conditions for a discharge hold (plugged, above target, enabled, offered).
    // `onDevice`: the behaviour the device reports now; `boot`: the boot clock, which no one sets. Returns
    // whether force-discharge should be written.
    bool update(bool wanted, const DeviceReading& reading, std::optional<std::string_view> onDevice,
                double boot);
    // A new plug-in is a new charger and a new chance.
    void pluggedIn() { blocked_ = false; }
    void stop() { step_ = Step::idle; }

    bool active() const { return step_ != Step::idle; }
    bool failed() const { return failed_; }

  private:
    enum class Step { idle, starting, running };
    Step step_ = Step::idle;
    double startedAt_ = 0;
    bool blocked_ = false;
    bool failed_ = false;
};

}  // namespace torvel::daemon
