#include "common/json.h"

#include <gtest/gtest.h>

#include <string>

namespace torvel {
namespace {

std::string nested(int depth) {
    return R"({"a":)" + std::string(static_cast<std::size_t>(depth - 1), '[') + "1" +
           std::string(static_cast<std::size_t>(depth - 1), ']') + "}";
}

TEST(ParseObjectStrictly, RefusesDeepNestingAndRepeatedKeysOnly) {
    const struct {
        std::string text;
        bool accepted;
    } cases[] = {
        {nested(json::defaultMaxDepth), true},
        {nested(json::defaultMaxDepth + 1), false},
        // Brackets and quotes inside strings are text, not nesting.
        {R"({"a":"[[[[[[[[[[[[[[[[[[[[ \" {{{{{{{{{{{{{{{{{{{"})", true},
        {R"({"limit":60,"limit":60})", false},
        {R"({"a":{"b":1,"b":2}})", false},
        {R"({"a":{"b":1},"c":{"b":2},"d":[{"b":1},{"b":2}]})", true},
        {R"([1,2])", false},
        {R"({"a":)", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(json::parseObjectStrictly(c.text).has_value(), c.accepted) << c.text;
    }
}

}  // namespace
}  // namespace torvel
