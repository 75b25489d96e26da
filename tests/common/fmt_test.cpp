#include "common/fmt.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

struct DecimalCase {
    double value;
    const char* locale;
    const char* expected;
};

TEST(FmtDecimal, AlwaysOneFractionDigitInTheLocale) {
    const DecimalCase cases[] = {
        {31, "en", "31.0"},    {29.96, "en", "30.0"}, {29.95, "en", "30.0"}, {-3.25, "en", "-3.2"},
        {41.04, "fr", "41,0"}, {0.05, "de", "0,0"},   {36.55, "ja", "36.6"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Fmt::decimal(c.value, c.locale), c.expected) << c.value << " in " << c.locale;
    }
}

TEST(FmtLocale, JapaneseRunsSentencesTogether) {
    Fmt::useLocale("ja");
    EXPECT_EQ(Fmt::terminator(), "。");
    EXPECT_EQ(Fmt::separator(), "");
    Fmt::useLocale("en");
    EXPECT_EQ(Fmt::terminator(), ".");
    EXPECT_EQ(Fmt::separator(), " ");
}

TEST(Spelled, WordsUpToTwelveThenDigits) {
    struct Case {
        long long n;
        bool capitalized;
        const char* locale;
        const char* expected;
    };
    const Case cases[] = {
        {2, true, "en", "Two"},   {12, true, "en", "Twelve"}, {13, true, "en", "13"},
        {0, false, "en", "zero"}, {3, true, "fr", "Trois"},   {7, false, "de", "sieben"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Spelled::count(c.n, c.capitalized, c.locale), c.expected) << c.n << " in " << c.locale;
    }
}

}  // namespace
}  // namespace torvel
