#include "common/fmt.h"

#include <unicode/numberformatter.h>
#include <unicode/rbnf.h>
#include <unicode/uchar.h>

#include <charconv>
#include <mutex>

#include "common/texts.h"

namespace torvel {
namespace {

std::mutex localeMutex;
std::string chosenLocale = "en";

std::string plainDecimal(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace

std::string Fmt::locale() {
    std::lock_guard lock(localeMutex);
    return chosenLocale;
}

void Fmt::useLocale(std::string_view id) {
    std::lock_guard lock(localeMutex);
    chosenLocale = id.empty() ? "en" : std::string(id);
}

std::string Fmt::decimal(double value) {
    return decimal(value, locale());
}

std::string Fmt::decimal(double value, std::string_view localeId) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale icuLocale(std::string(localeId).c_str());
    const auto formatted = icu::number::NumberFormatter::withLocale(icuLocale)
                               .precision(icu::number::Precision::fixedFraction(1))
                               .formatDouble(value, status);
    icu::UnicodeString text = formatted.toString(status);
    if (U_FAILURE(status) || text.isEmpty()) return plainDecimal(value);
    return utf8(text);
}

std::string Fmt::terminator() {
    return locale().starts_with("ja") ? "。" : ".";
}

std::string Fmt::separator() {
    return locale().starts_with("ja") ? "" : " ";
}

std::string Fmt::percent(long long value) {
    return tr("%1%", {std::to_string(value)});
}

std::string Spelled::count(long long n, bool capitalized) {
    return count(n, capitalized, Fmt::locale());
}

std::string Spelled::count(long long n, bool capitalized, std::string_view localeId) {
    if (n > 12) return std::to_string(n);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale icuLocale(std::string(localeId).c_str());
    icu::RuleBasedNumberFormat speller(icu::URBNF_SPELLOUT, icuLocale, status);
    icu::UnicodeString words;
    if (U_SUCCESS(status)) speller.format(static_cast<int64_t>(n), words);
    if (U_FAILURE(status) || words.isEmpty()) return std::to_string(n);
    if (capitalized) {
        const UChar32 first = words.char32At(0);
        words.replace(0, U16_LENGTH(first), icu::UnicodeString(u_toupper(first)));
    }
    return utf8(words);
}

}  // namespace torvel
