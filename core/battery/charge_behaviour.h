#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvel {

// The kernel's charge_behaviour attribute: every value the driver offers, the current one in brackets
// ("[auto] inhibit-charge force-discharge").
struct ChargeBehaviour {
    std::vector<std::string> offered;
    std::string current;

    // Absent when no value is bracketed or the brackets are malformed: a driver we cannot read is one we
    // must not drive.
    static std::optional<ChargeBehaviour> parse(std::string_view text);

    bool offers(std::string_view value) const;
    bool operator==(const ChargeBehaviour&) const = default;
};

inline constexpr std::string_view behaviourAuto = "auto";
inline constexpr std::string_view behaviourInhibit = "inhibit-charge";
// Stops charging only while the machine is awake; as the service is awake whenever it holds a limit, it holds
// one as well as inhibit-charge does.
inline constexpr std::string_view behaviourInhibitAwake = "inhibit-charge-awake";
inline constexpr std::string_view behaviourForceDischarge = "force-discharge";

}  // namespace torvel
