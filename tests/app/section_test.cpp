#include "app/section.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

TEST(AppSection, NamedOnTheCommandLine) {
    struct Case {
        const char* name;
        std::optional<AppSection::Value> section;
    };
    const Case cases[] = {
        {"today", AppSection::today},
        {"journal", AppSection::today},
        {"settings", AppSection::settings},
        {"charge", AppSection::settings},
        {"system", AppSection::settings},
        {"general", AppSection::settings},
        {"automation", AppSection::settings},
        {"mac", AppSection::mac},
        {"advanced", AppSection::mac},
        {"about", AppSection::mac},
        {"memory", AppSection::memory},
        {"calibration", AppSection::calibration},
        {"Settings", std::nullopt},
        {"", std::nullopt},
        {"battery", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto found = AppSection::named(c.name);
        EXPECT_EQ(found.has_value(), c.section.has_value()) << c.name;
        if (found && c.section) {
            EXPECT_EQ(AppSection::Value(*found), *c.section) << c.name;
        }
    }
}

}  // namespace
}  // namespace torvel
