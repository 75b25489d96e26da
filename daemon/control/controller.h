#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "calibration/status.h"
#include "common/dates.h"
#include "control/calibration_run.h"
#include "control/charge_writer.h"
#include "control/discharge_supervisor.h"
#include "device/power_device.h"
#include "service/settings.h"

namespace torvel::daemon {

// What survives a restart of the service, kept in its own state file.
struct ControlMemory {
    double protectedSeconds = 0;
    CalibrationStatus cal;
    std::optional<std::int64_t> calBeforeRaw;

    bool operator==(const ControlMemory&) const = default;
};

// The controller's published view, in the status file's terms.
struct ControlView {
    // "hold", "allow" or "discharge".
    std::string state = "allow";
    double since = 0;
    int pct = 0;
    bool plugged = false;
    bool hot = false;
    std::optional<double> temp;
    bool topUp = false;
    double protectedSeconds = 0;
    bool dischargeSupported = false;
    bool dischargeFailed = false;
    std::vector<std::string> controlFiles;
    std::optional<std::string> chargeMode;
    std::optional<int> nativeFloor;
    std::optional<bool> gateVerified;
    CalibrationStatus cal;

    bool operator==(const ControlView&) const = default;
};

// "thresholds", "behaviour" or "thresholds+behaviour"; absent when nothing can hold a limit.
std::optional<std::string> chargeModeOf(const DeviceCapabilities& caps);

// The control loop: from the settings and one reading of the device, a target and a state word, applied to
// the device. Time is passed in, so tests run days of it against a simulated battery in milliseconds.
class ChargeController {
  public:
    using Log = std::function<void(std::string_view)>;

    // Time held at or above the limit before the service checks that current stopped flowing in.
    static constexpr double gateDelaySeconds = 60;
    // Below this the battery counts as not charging even when the status says otherwise.
    static constexpr std::int64_t gateCurrentMicroamps = 50000;
    static constexpr double heatReturnCelsius = 3;

    ChargeController(PowerDevice& device, ControlMemory memory, Log log);

    // Also ends a release: a new settings message means "control again".
    void setSettings(const Settings& settings);
    const Settings& settings() const { return settings_; }
    void resetProtected() { view_.protectedSeconds = 0; }
    // Drops the protected time and the calibration record (a purge); a run in progress ends.
    void forgetMemory();
    // Writes the full range and auto, then leaves the device alone until the next settings or start.
    WriteError release();
    // Looks at the hardware afresh and rewrites everything on the next tick (start, resume, battery added).
    void reapply();
    void tick(Instant now);
    // The state to leave behind when the service stops: never forced discharge, never inhibited charging.
    WriteError shutdown();

    const ControlView& view() const { return view_; }
    ControlMemory memory() const;
    const DeviceCapabilities& capabilities() const { return caps_; }
    // Settings the service changed by itself (a top-up or a calibration run that ended), to be stored.
    std::optional<Settings> takeSettingsChange();

  private:
    void refreshCapabilities();
    void updateHeat(const DeviceReading& reading);
    void updateTopUp(const DeviceReading& reading, bool unplugged, double elapsed);
    std::optional<int> target() const;
    void apply(const DeviceReading& reading, std::optional<int> target, bool forcing);
    void note(const WriteError& error);

    PowerDevice& device_;
    Log log_;
    Settings settings_;
    DeviceCapabilities caps_;
    ChargeWriter writer_;
    DischargeSupervisor discharge_;
    CalibrationRun calibration_;
    ControlView view_;

    bool released_ = false;
    bool capsKnown_ = false;
    bool inhibitLatched_ = false;
    double topUpFullSeconds_ = 0;
    std::optional<Instant> lastTick_;
    std::optional<bool> wasPlugged_;
    std::optional<Instant> holdingSince_;
    std::optional<Settings> settingsChange_;
    std::string lastError_;
};

}  // namespace torvel::daemon
