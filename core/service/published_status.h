#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration/status.h"

namespace torvel {

// Everything the service publishes in status.json: the writer's side of refreshStatus.
struct PublishedStatus {
    double ts = 0;
    std::string state = "allow";
    int pct = 0;
    bool plugged = false;
    bool hot = false;
    std::optional<double> temp;
    bool topUp = false;
    double protectedSeconds = 0;
    std::optional<double> since;
    bool ledSupported = false;
    bool dischargeSupported = false;
    bool dischargeFailed = false;
    std::vector<std::string> smcKeys;
    std::optional<std::string> chargeMode;
    std::optional<int> nativeFloor;
    std::optional<bool> gateVerified;
    std::optional<std::string> daemonVersion;
    std::optional<double> startedAt;
    std::optional<std::string> daemonPath;
    CalibrationStatus cal;

    bool operator==(const PublishedStatus&) const = default;
};

// The status file's bytes: one compact object with sorted keys. Every key is always written; a value the
// service does not know is null, which readers take as absent, so a reader can tell an unknown value from
// an older service that never wrote the key.
std::string publishedStatusText(const PublishedStatus& status);

}  // namespace torvel
