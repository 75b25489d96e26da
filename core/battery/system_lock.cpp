#include "battery/system_lock.h"

#include <sys/utsname.h>

#include <charconv>

#include "common/paths.h"

namespace torvel {

std::optional<int> SystemLock::parseMajor(std::string_view text) {
    // from_chars takes a "-" but not a "+"; a sign followed by another sign is not a number.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<int> SystemLock::releaseMajor(std::string_view release) {
    int value = 0;
    const auto [stop, error] = std::from_chars(release.data(), release.data() + release.size(), value);
    if (error != std::errc() || stop == release.data()) return std::nullopt;
    return value;
}

SystemLock SystemLock::compute(const Environment& env, int platformMajor, bool nativeCapability) {
    SystemLock lock;
    if (auto pretended = env("TORVEL_PRETEND_MACOS")) lock.pretendedMajor = parseMajor(*pretended);
    lock.macOSMajor = lock.pretendedMajor.value_or(platformMajor);
    lock.closesKeys = lock.macOSMajor > 26;
    lock.nativeAvailable = env("TORVEL_PRETEND_NO_NATIVE") != "1" && nativeCapability;
    lock.usesNative = lock.closesKeys && lock.nativeAvailable;
    lock.active = lock.closesKeys && !lock.nativeAvailable;
    return lock;
}

const SystemLock& SystemLock::current() {
    // A function-local static is initialised exactly once, even under concurrent first use.
    static const SystemLock lock = [] {
        utsname system{};
        const int major = ::uname(&system) == 0 ? releaseMajor(system.release).value_or(0) : 0;
        // Linux has no system-owned charge limit to hand over to.
        return compute(processEnvironment, major, false);
    }();
    return lock;
}

}  // namespace torvel
