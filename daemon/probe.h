#pragma once

#include <filesystem>
#include <string>

namespace torvel::daemon {

// The answer of `torvel-daemon --probe --json`: what this machine lets the service drive, read from the
// power-supply class directory without writing anything. One JSON object, keys sorted.
std::string probeJson(const std::filesystem::path& powerSupply);

}  // namespace torvel::daemon
