#pragma once

#include <string>
#include <string_view>

namespace torvel {

// The display locale and its number formatting. The locale is the application's chosen localisation,
// "en" unless the app or the command line picks another before the first text is built.
class Fmt {
  public:
    static std::string locale();
    static void useLocale(std::string_view id);

    // Exactly one fraction digit in the display locale: 31 gives "31.0", 29.96 gives "30.0".
    static std::string decimal(double value);
    static std::string decimal(double value, std::string_view localeId);

    // Japanese ends sentences with "。" and runs them together; every other locale uses ". " style.
    static std::string terminator();
    static std::string separator();

    // "80%": the percentage text used everywhere, as the catalogue writes it ("80 %" in French).
    static std::string percent(long long value);
};

// Small counts in words ("Twelve"); above twelve, the digits.
struct Spelled {
    static std::string count(long long n, bool capitalized);
    static std::string count(long long n, bool capitalized, std::string_view localeId);
};

}  // namespace torvel
