#pragma once

#include <string>

#include "common/paths.h"

namespace torvel::daemon {

struct RunOptions {
    Paths paths;
    std::string version;
    std::string executablePath;
    // Seconds between two looks at the battery when nothing else wakes the service.
    double tickSeconds = 5;
};

enum class RunEnd { stopped, restartRequested, failed };

// The service's one event loop: a timer, power-supply events, the bus and the stop signals. Returns after
// SIGTERM, SIGINT or SIGHUP, or when Restart was asked, having left auto behaviour behind.
RunEnd runService(const RunOptions& options);

}  // namespace torvel::daemon
