#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/json.h"
#include "common/paths.h"

namespace torvel {

// Another program writing the charge controls the service holds, as status.json publishes it under
// "otherWriter": who, when it last wrote, and whether the service has stopped putting its own values back.
struct OtherWriter {
    enum class Program {
        upower,   // UPower's charge threshold (GNOME's "Preserve Battery Health" switch)
        tlp,      // TLP with charge thresholds in its configuration
        kde,      // KDE Plasma's charge limit, written through its helper
        unknown,  // nothing says who
    };

    Program program = Program::unknown;
    // TLP: the configuration file that sets its thresholds.
    std::optional<std::string> file;
    // When its last write was noticed.
    std::optional<double> at;
    bool yielded = false;

    bool operator==(const OtherWriter&) const = default;

    json::Value encode() const;
    // Absent for anything but an object; an unknown program word reads as unknown.
    static std::optional<OtherWriter> decode(const json::Value& value);
};

std::string_view word(OtherWriter::Program program);

// The TLP configuration file that sets a charge threshold (START_CHARGE_THRESH_BAT* or
// STOP_CHARGE_THRESH_BAT*) while TLP is enabled, looked for in /etc/tlp.d/*.conf and /etc/tlp.conf under the
// paths' root; absent when TLP sets none.
std::optional<std::string> tlpThresholdFile(const Paths& paths);

}  // namespace torvel
