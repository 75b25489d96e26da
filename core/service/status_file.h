#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "calibration/status.h"
#include "common/json.h"

namespace torvel {

// What the service last published in status.json, as the app reads it.
struct ServiceStatus {
    std::string state = "unknown";
    int statusPct = 0;
    bool statusPlugged = false;
    bool statusHot = false;
    std::optional<double> statusTemp;
    bool statusTopUp = false;
    double statusProtectedSeconds = 0;
    std::optional<double> statusSince;
    bool ledSupported = true;
    bool dischargeSupported = true;
    bool dischargeFailed = false;
    std::vector<std::string> smcKeys;
    std::optional<std::string> chargeMode;
    std::optional<bool> gateVerified;
    std::optional<int> nativeFloor;
    std::optional<std::string> daemonVersion;
    std::optional<double> daemonStartedAt;
    std::optional<std::string> daemonPath;
    CalibrationStatus cal;

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
