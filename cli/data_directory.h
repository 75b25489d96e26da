#pragma once

#include <optional>
#include <string>

#include "common/paths.h"
#include "options.h"
#include "service/charge_settings.h"

namespace torvel::cli {

// The charge-settings model as the app would hold it after start-up: config.json loaded, one status refresh
// at `now`, and `calibrate` following the service.
struct DataDirectoryState {
    ChargeSettingsState settings;
    InstallationFacts installation;
};

DataDirectoryState loadDataDirectory(const Paths& paths, double now, bool serviceInstalled);

// Whether systemd has the service's unit enabled.
bool serviceUnitEnabled();

// Reads "--service-installed yes|no" (absent: ask systemd); an error text for any other value.
std::optional<std::string> parseServiceInstalled(const std::optional<std::string>& value, bool& installed);

// The wall clock in seconds since 1970, for commands whose --now was not given.
double wallClock();

// Reads "--now EPOCH" (absent: the wall clock); an error text for a value that is not seconds since 1970.
std::optional<std::string> parseNow(const Options& options, double& now);

}  // namespace torvel::cli
