#pragma once

#include <optional>
#include <string_view>

#include "calibration/status.h"
#include "service/charge_state.h"
#include "service/published_status.h"

namespace torvel {

// The app's side of status.json: the last record it read, and how far that record is believed.
struct ServiceStatus {
    enum class Freshness {
        // Not read yet, or the last read failed: the state is unknown, the other values are the last ones
        // read.
        unreadable,
        // Left behind by a service that stopped: its values still show, its state, its word on the gate and
        // its own identity are not believed.
        stale,
        fresh,
    };

    PublishedStatus published;
    Freshness freshness = Freshness::unreadable;

    // The service's state while the file is fresh and names one this version knows.
    std::optional<ChargeState> state() const;
    // The state as the app shows it: the service's word, "stale" or "unknown".
    std::string_view stateWord() const;

    bool operator==(const ServiceStatus&) const = default;
};

// A status file older than this has been left behind by a service that stopped.
inline constexpr double statusFreshSeconds = 60;

// One status refresh. `fileBytes` is absent when the file could not be read. An unreadable or malformed
// file only turns the state to "unknown"; everything else keeps its last value. The service's identity and
// `gateVerified` are believed only from a fresh file, and the identity only while the service is installed.
void refreshStatus(ServiceStatus& status, std::optional<std::string_view> fileBytes, double now,
                   bool daemonInstalled);

// A tap on the calibrate switch stands for this long before the switch follows the service again, so a
// request the service has not yet seen is not undone.
inline constexpr double calibrateGraceSeconds = 8;

// The value of `calibrate` after a refresh: the user's own while the grace lasts, else whether a run is on.
bool followCalibrate(bool calibrate, std::optional<double> calibrateAskedAt, const CalibrationStatus& cal,
                     double now);

}  // namespace torvel
