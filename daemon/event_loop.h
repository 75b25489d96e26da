#pragma once

#include <optional>
#include <string>

#include "common/paths.h"

namespace torvel::daemon {

struct RunOptions {
    Paths paths;
    std::string version;
    std::string executablePath;
    // Seconds between two looks at the battery while something is in motion (charging toward a target,
    // a discharge, a calibration), and while nothing is: power-supply events wake the service at once
    // either way, and the settled beat keeps status.json fresh for the app.
    double busyTickSeconds = 5;
    double settledTickSeconds = 20;
};

enum class RunEnd {
    stopped,
    restartRequested,
    failed,
    // Another instance owns the bus name or holds the state directory; nothing was touched.
    alreadyRunning,
};

// The process exit status that asks systemd for a fresh start (RestartForceExitStatus= in the unit).
inline constexpr int restartExitStatus = 75;

// The service's one event loop: a timer, power-supply events, the bus and the signals. Returns after
// SIGTERM or SIGINT, or when Restart was asked, having left auto behaviour behind; SIGHUP reads the
// settings again. Before it touches the battery it takes the state directory's lock and the bus name.
RunEnd runService(const RunOptions& options);

}  // namespace torvel::daemon
