#include "battery/system_lock.h"

#include <gtest/gtest.h>

#include <map>

namespace torvel {
namespace {

SystemLock::Environment environment(std::map<std::string, std::string> values) {
    return [values = std::move(values)](const char* name) -> std::optional<std::string> {
        const auto found = values.find(name);
        if (found == values.end()) return std::nullopt;
        return found->second;
    };
}

TEST(SystemLock, PretendedReleaseOverridesThePlatform) {
    struct Case {
        std::optional<std::string> pretend;
        int macOSMajor;
        bool closesKeys;
    };
    const Case cases[] = {
        {"27", 27, true},           {"+26", 26, false},        {"-3", -3, false},  {"26", 26, false},
        {"abc", 15, false},         {"", 15, false},           {"27 ", 15, false}, {" 27", 15, false},
        {"+-27", 15, false},        {"++27", 15, false},       {"+", 15, false},   {"27.0", 15, false},
        {"99999999999", 15, false}, {std::nullopt, 15, false},
    };
    for (const auto& c : cases) {
        std::map<std::string, std::string> env;
        if (c.pretend) env["TORVEL_PRETEND_MACOS"] = *c.pretend;
        const auto lock = SystemLock::compute(environment(env), 15, false);
        EXPECT_EQ(lock.macOSMajor, c.macOSMajor) << c.pretend.value_or("unset");
        EXPECT_EQ(lock.closesKeys, c.closesKeys) << c.pretend.value_or("unset");
    }
    EXPECT_TRUE(SystemLock::compute(environment({}), 27, false).closesKeys);
}

TEST(SystemLock, NativeFacilityDecidesBetweenNativeAndLocked) {
    struct Case {
        const char* release;
        std::optional<std::string> noNative;
        bool capability;
        bool nativeAvailable, usesNative, active;
    };
    const Case cases[] = {
        {"27", std::nullopt, true, true, true, false},   {"27", "1", true, false, false, true},
        {"27", "true", true, true, true, false},         {"27", "1 ", true, true, true, false},
        {"27", std::nullopt, false, false, false, true}, {"26", std::nullopt, true, true, false, false},
        {"26", "1", true, false, false, false},
    };
    for (const auto& c : cases) {
        std::map<std::string, std::string> env{{"TORVEL_PRETEND_MACOS", c.release}};
        if (c.noNative) env["TORVEL_PRETEND_NO_NATIVE"] = *c.noNative;
        const auto lock = SystemLock::compute(environment(env), 6, c.capability);
        const std::string label = std::string(c.release) + "/" + c.noNative.value_or("unset");
        EXPECT_EQ(lock.nativeAvailable, c.nativeAvailable) << label;
        EXPECT_EQ(lock.usesNative, c.usesNative) << label;
        EXPECT_EQ(lock.active, c.active) << label;
    }
}

TEST(SystemLock, KernelReleaseGivesTheMajorNumber) {
    EXPECT_EQ(SystemLock::releaseMajor("6.1.0-18-amd64"), 6);
    EXPECT_EQ(SystemLock::releaseMajor("10.0"), 10);
    EXPECT_EQ(SystemLock::releaseMajor("rc1"), std::nullopt);
    EXPECT_EQ(SystemLock::releaseMajor(""), std::nullopt);
}

TEST(SystemLock, CurrentIsFixedForTheProcess) {
    const SystemLock& first = SystemLock::current();
    EXPECT_EQ(&first, &SystemLock::current());
    EXPECT_FALSE(first.nativeAvailable);
    EXPECT_FALSE(first.usesNative);
}

}  // namespace
}  // namespace torvel
