#include "common/paths.h"

#include <cstdlib>

namespace torvel {

std::optional<std::string> processEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::string(value);
}

Paths Paths::fromEnvironment(const Environment& env) {
    const std::filesystem::path base = env("TORVEL_ROOT").value_or("/");
    // Joining an absolute path would discard the root, so the fixed parts are relative.
    const auto under = [&](const char* relative) { return base / relative; };
    Paths paths{
        .config = under("var/lib/torvel/config.json"),
        .status = under("var/lib/torvel/status.json"),
        .history = under("var/lib/torvel/history"),
        .log = under("var/log/torvel/daemon.log"),
        .powerSupply = "/sys/class/power_supply",
        .root = base,
    };
    if (auto sysfs = env("TORVEL_SYSFS")) paths.powerSupply = *sysfs;
    return paths;
}

Paths Paths::fromProcessEnvironment() {
    return fromEnvironment(processEnvironment);
}

}  // namespace torvel
