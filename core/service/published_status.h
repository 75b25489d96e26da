#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "calibration/status.h"
#include "common/json.h"
#include "service/charge_state.h"
#include "service/other_writer.h"

namespace torvel {

// One battery in its bay as the service publishes it under "batteries".
struct PublishedBattery {
    std::string name;
    std::optional<int> pct;
    // The kernel's status word ("Charging", "Not charging", ...).
    std::optional<std::string> status;
    // How the service holds the limit on it ("thresholds", "behaviour", "thresholds+behaviour"); absent when
    // it cannot.
    std::optional<std::string> mode;
    // What the driver holds now, as read back.
    std::optional<int> startThreshold;
    std::optional<int> endThreshold;
    std::optional<std::string> behaviour;
    // The last write to it that failed, in the service's words.
    std::optional<std::string> error;

    bool operator==(const PublishedBattery&) const = default;
};

// status.json: what the service publishes and the app reads back, one key per field under the same name.
// Each default is what a reader takes for a key that is missing or of the wrong type.
struct PublishedStatus {
    // When the service wrote the file; absent makes the file stale.
    std::optional<double> ts;
    std::optional<ChargeState> state;
    // A state word this version does not know (a newer service's), kept as written so it is shown as it is.
    std::optional<std::string> otherState;
    // When the current state began.
    std::optional<double> since;
    int pct = 0;
    bool plugged = false;
    std::optional<double> temp;
    bool hot = false;
    bool topUp = false;
    double protectedSeconds = 0;
    std::optional<bool> gateVerified;
    CalibrationStatus cal;

    // What the machine lets the service do.
    std::optional<std::string> chargeMode;
    // The control files the service writes.
    std::vector<std::string> smcKeys;
    std::optional<int> nativeFloor;
    // The end threshold the driver holds in place of the user's limit when it would not take the limit itself
    // (it rounded or clamped it, or refused it and took the nearest value it accepts).
    std::optional<int> nativeLimit;
    // Why the charge controls could not be set as asked, in the service's words; absent while they are.
    std::optional<std::string> chargeError;
    // Every battery in its bay.
    std::vector<PublishedBattery> batteries;
    // Another program writing the same controls, once the service has noticed one.
    std::optional<OtherWriter> otherWriter;
    bool ledSupported = true;
    bool dischargeSupported = true;
    bool dischargeFailed = false;

    // The running service itself.
    std::optional<std::string> daemonVersion;
    std::optional<double> startedAt;
    std::optional<std::string> daemonPath;

    bool operator==(const PublishedStatus&) const = default;

    // Every key is always there; a value the service does not know is null, which readers take as absent,
    // so a reader can tell an unknown value from an older service that never wrote the key.
    json::Value encode() const;
    // The file's bytes: the encoded object, compact, with sorted keys.
    std::string fileText() const;
    // Lenient: each field falls back to its default on its own. Absent only when the bytes are not one
    // JSON object.
    static std::optional<PublishedStatus> decode(std::string_view fileBytes);
};

}  // namespace torvel
