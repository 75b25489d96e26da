#include "battery/system_lock.h"

#include <gtest/gtest.h>

#include <map>

namespace torvel {
namespace {

TEST(SystemLock, PretendedReleaseAndNativeFacility) {
    struct Case {
        std::optional<std::string> pretend, noNative;
        bool capability;
        int major;
        bool closesKeys, usesNative, active;
    };
    // The real release is 15 and the platform has a native facility unless a case says otherwise.
    // clang-format off
    const Case cases[] = {
        {"27", {}, true, 27, true, true, false},     {"+26", {}, true, 26, false, false, false},
        {"-3", {}, true, -3, false, false, false},   {"abc", {}, true, 15, false, false, false},
        {"", {}, true, 15, false, false, false},     {" 27", {}, true, 15, false, false, false},
        {"+-27", {}, true, 15, false, false, false}, {"99999999999", {}, true, 15, false, false, false},
        {"27", "1", true, 27, true, false, true},    {"27", "true", true, 27, true, true, false},
        {"27", {}, false, 27, true, false, true},    {"26", "1", true, 26, false, false, false},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::map<std::string, std::string> env;
        if (c.pretend) env["TORVEL_PRETEND_MACOS"] = *c.pretend;
        if (c.noNative) env["TORVEL_PRETEND_NO_NATIVE"] = *c.noNative;
        const auto lookup = [&](const char* name) -> std::optional<std::string> {
            const auto found = env.find(name);
            return found == env.end() ? std::nullopt : std::optional(found->second);
        };
        const auto lock = SystemLock::compute(lookup, 15, c.capability);
        const std::string label = c.pretend.value_or("unset") + "/" + c.noNative.value_or("unset");
        EXPECT_EQ(lock.macOSMajor, c.major) << label;
        EXPECT_EQ(lock.closesKeys, c.closesKeys) << label;
        EXPECT_EQ(lock.usesNative, c.usesNative) << label;
        EXPECT_EQ(lock.active, c.active) << label;
    }
}

TEST(SystemLock, KernelReleaseGivesTheMajorAndLinuxHasNoNativeFacility) {
    EXPECT_EQ(SystemLock::releaseMajor("6.1.0-18-amd64"), 6);
    EXPECT_EQ(SystemLock::releaseMajor("rc1"), std::nullopt);
    EXPECT_FALSE(SystemLock::current().nativeAvailable);
}

}  // namespace
}  // namespace torvel
