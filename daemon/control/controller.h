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
#include "control/other_writer_watch.h"
#include "device/power_device.h"
#include "service/published_status.h"
#include "service/settings.h"

namespace torvel::daemon {

// What survives a restart of the service, kept in its own state file.
struct ControlMemory {
    double protectedSeconds = 0;
    CalibrationStatus cal;
    std::optional<std::int64_t> calBeforeRaw;

    bool operator==(const ControlMemory&) const = default;
};

// The control loop: from the settings and one reading of the device, a target and a state word, applied to
// every battery that can hold a limit. Time is passed in, so tests run days of it against a simulated battery
// in milliseconds: the wall clock dates what is published, the boot clock (which nobody sets) times every
// span.
class ChargeController {
  public:
    using Log = std::function<void(std::string_view)>;

    // Time held at or above the limit before the service checks that current stopped flowing in.
    static constexpr double gateDelaySeconds = 60;
    // Below this the battery counts as not charging even when the status says otherwise.
    static constexpr std::int64_t gateCurrentMicroamps = 50000;
    static constexpr double heatReturnCelsius = 3;
    // The state word published while the battery is out of its bay.
    static constexpr std::string_view absentWord = "absent";

    // `lookout` (may be null) names whoever else writes the charge controls.
    ChargeController(PowerDevice& device, ControlMemory memory, Log log, WriterLookout* lookout = nullptr);

    // Also ends a release, and a giving way to another program: a new settings message means "control again".
    void setSettings(const Settings& settings);
    const Settings& settings() const { return settings_; }
    void resetProtected() { setProtectedSeconds(0); }
    // Drops the protected time and the calibration record (a purge); a run in progress ends.
    void forgetMemory();
    // Writes the full range and auto, then leaves the device alone until the next settings or start.
    WriteError release();
    // Looks at the hardware afresh and rewrites everything on the next tick (start, resume, battery added).
    void reapply();
    void tick(Instant now, double boot);
    // Before the machine sleeps: a forced discharge would run on unwatched, so it goes back to auto until
    // the next reapply() (on resume).
    WriteError prepareForSleep();
    // The state to leave behind when the service stops: never forced discharge, never inhibited charging.
    WriteError shutdown();

    // What the service publishes, but for the time of writing and its own identity.
    const PublishedStatus& status() const { return status_; }
    ControlMemory memory() const;
    // The batteries that can hold a limit, each as its driver offers.
    const std::vector<DeviceCapabilities>& capabilities() const { return caps_; }
    // Settings the service changed by itself (a top-up or a calibration run that ended), to be stored.
    std::optional<Settings> takeSettingsChange();

  private:
    void refreshCapabilities();
    // Returns whether the charger was just unplugged.
    bool followPlug(bool plugged);
    void takeReading(const DeviceReading& reading);
    void advanceCalibration(const DeviceReading& reading, Instant now, double boot, double elapsed);
    void updateTopUp(const DeviceReading& reading, bool unplugged, double elapsed);
    void updateHeat(const DeviceReading& reading);
    std::optional<int> target() const;
    // The state this tick ends in, after every write it takes.
    ChargeState control(const DeviceReading& reading, double boot, double elapsed);
    // Returns whether the battery is being forced down.
    bool superviseDischarge(const DeviceReading& reading, std::optional<int> goal, double boot);
    // Returns whether force-discharge is on the device, as asked (false when the driver refused it).
    bool apply(const DeviceReading& reading, std::optional<int> goal, bool forcing);
    // The battery is out: nothing to hold, nothing to publish about it but that.
    void followAbsence(Instant now);
    ChargeState stateOf(const DeviceReading& reading, std::optional<int> goal, bool forcing) const;
    void verifyGate(const DeviceReading& reading, std::optional<int> goal, bool forcing, double boot);
    void countProtectedTime(ChargeState state, std::optional<int> goal, double elapsed);
    void enterState(ChargeState state, Instant now);
    void setProtectedSeconds(double seconds);
    void note(const WriteError& error);
    // Changes to the controls the service did not make since its last look; a program that keeps making them
    // is given way to.
    void watchOtherWriters(Instant now, double boot);
    // Each controlled battery as the device shows it now.
    void publishBatteries(const DeviceReading& reading);
    std::vector<std::string> batteryNames() const;
    void forgetWrites();
    // The first battery that offers `behaviour`, to follow a forced discharge by.
    const DeviceCapabilities* offering(std::string_view behaviour) const;

    PowerDevice& device_;
    Log log_;
    Settings settings_;
    std::vector<DeviceCapabilities> caps_;
    // One per entry of caps_, in the same order.
    std::vector<ChargeWriter> writers_;
    std::vector<WriteError> batteryErrors_;
    OtherWriterWatch otherWriters_;
    DischargeSupervisor discharge_;
    CalibrationRun calibration_;
    PublishedStatus status_;
    // Kept in fractions of a second; the status shows whole ones.
    double protectedSeconds_ = 0;

    bool released_ = false;
    bool asleep_ = false;
    bool capsKnown_ = false;
    bool absent_ = false;
    bool inhibitLatched_ = false;
    double topUpFullSeconds_ = 0;
    // Boot-clock times.
    std::optional<double> lastTick_;
    std::optional<bool> wasPlugged_;
    std::optional<double> holdingSince_;
    std::optional<Settings> settingsChange_;
    std::string lastError_;
};

}  // namespace torvel::daemon
