#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/paths.h"

namespace torvel::daemon {

// The charge thresholds that stood on each battery before the service first drove them, so that removing
// the service gives the machine back as it was found rather than at the service's limit or at a range the
// driver may not even take (0 is below some firmware's lowest start).
struct StoodThresholds {
    std::string battery;  // the supply's name in the power-supply class, "BAT0"
    std::optional<int> start;
    std::optional<int> end;

    bool operator==(const StoodThresholds&) const = default;
};

// What a record or a restore did, one line per battery, and every failure; a failure on one battery never
// stops the others.
struct HandOverReport {
    std::vector<std::string> done;
    std::vector<std::string> failures;
};

// Beside the service's state, so that purging its data takes the record too.
std::filesystem::path thresholdsRecordFile(const Paths& paths);

// The thresholds of every system battery (type Battery, not a peripheral) that offers them.
std::vector<StoodThresholds> readStoodThresholds(const std::filesystem::path& powerSupply);

// The record's text, and back; entries that do not name a plain supply or hold a percentage are dropped.
std::string encodeStoodThresholds(const std::vector<StoodThresholds>& batteries);
std::vector<StoodThresholds> decodeStoodThresholds(std::string_view text);

// Writes the record unless one is there: the thresholds before the first install are the ones to come back
// to, and a reinstall, an upgrade or a second installer must not take the service's own limit for them.
HandOverReport recordThresholds(const Paths& paths);

// Puts every recorded threshold back, gives a battery the record does not know its full range, sets
// charge_behaviour to auto, and deletes the record. Only for when the service is gone: a running service
// would write its limit again.
HandOverReport restoreThresholds(const Paths& paths);

}  // namespace torvel::daemon
