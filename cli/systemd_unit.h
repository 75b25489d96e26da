#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvel::cli {

// The unit file state systemd reports for `unit` ("enabled", "disabled", ...), or absent when the system bus
// or systemd cannot be reached or knows no such unit.
std::optional<std::string> unitFileState(std::string_view unit);

inline constexpr std::string_view daemonUnit = "torvel-daemon.service";

}  // namespace torvel::cli
