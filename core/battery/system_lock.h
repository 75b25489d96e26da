#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace torvel {

// Facts about the running OS release, fixed for the life of the process: whether the release stops the
// service from holding a limit (closesKeys) and whether a native facility takes over.
struct SystemLock {
    std::optional<int> pretendedMajor;
    int macOSMajor = 0;
    bool closesKeys = false;
    bool nativeAvailable = false;
    bool usesNative = false;
    bool active = false;

    bool operator==(const SystemLock&) const = default;

    using Environment = std::function<std::optional<std::string>(const char*)>;

    // TORVEL_PRETEND_MACOS overrides `platformMajor`; TORVEL_PRETEND_NO_NATIVE=1 hides `nativeCapability`.
    static SystemLock compute(const Environment& env, int platformMajor, bool nativeCapability);
    // Computed once, from the process environment, the kernel's major version and no native facility.
    static const SystemLock& current();

    // A decimal integer with an optional leading "+" or "-" and nothing else; absent otherwise.
    static std::optional<int> parseMajor(std::string_view text);
    // The major number of a release string such as "6.1.0-18-amd64"; absent when it has none.
    static std::optional<int> releaseMajor(std::string_view release);
};

}  // namespace torvel
