#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace torvel {

// Every file the programs touch, computed in one place so that tests, the demo and a copied data directory
// can move them all with TORVEL_ROOT / TORVEL_SYSFS.
struct Paths {
    std::filesystem::path config;
    std::filesystem::path status;
    std::filesystem::path history;
    std::filesystem::path log;
    std::filesystem::path powerSupply;
    // The machine's own files (/etc, /sys/class/dmi) are read under the same root, so a copied system tree
    // reads as the machine it came from.
    std::filesystem::path root = "/";

    using Environment = std::function<std::optional<std::string>(const char*)>;

    static Paths fromEnvironment(const Environment& env);
    static Paths fromProcessEnvironment();
    // The root of the service's own state (config, status, journal).
    std::filesystem::path dataDirectory() const { return config.parent_path(); }
    // `absolute` ("/etc/os-release") under the root.
    std::filesystem::path machineFile(const std::filesystem::path& absolute) const {
        return root / absolute.relative_path();
    }
};

// getenv as an optional, an empty value counting as unset.
std::optional<std::string> processEnvironment(const char* name);

}  // namespace torvel
