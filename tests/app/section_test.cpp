#include "app/section.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvel {
namespace {

TEST(AppSection, NamedOnTheCommandLine) {
    const std::pair<std::optional<AppSection::Value>, std::vector<const char*>> cases[] = {
        {AppSection::today, {"today", "journal"}},
        {AppSection::settings, {"settings", "charge", "system", "general", "automation"}},
        {AppSection::mac, {"mac", "advanced", "about"}},
        {AppSection::memory, {"memory"}},
        {AppSection::calibration, {"calibration"}},
        {std::nullopt, {"Settings", "", "battery"}},
    };
    for (const auto& [section, names] : cases) {
        for (const char* name : names) {
            const auto found = AppSection::named(name);
            EXPECT_EQ(found ? std::optional(AppSection::Value(*found)) : std::nullopt, section) << name;
        }
    }
}

}  // namespace
}  // namespace torvel
