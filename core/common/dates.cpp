#include "common/dates.h"

#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>

#include <cmath>
#include <ctime>
#include <memory>

namespace torvel {
namespace {

// About ±3 million years: far beyond any journal, and safely inside time_t and struct tm's int year.
constexpr double maxAbsoluteSeconds = 1e14;

std::optional<std::tm> localParts(Instant instant) {
    if (!std::isfinite(instant) || std::fabs(instant) > maxAbsoluteSeconds) return std::nullopt;
    const auto seconds = static_cast<std::time_t>(std::floor(instant));
    std::tm parts{};
    if (localtime_r(&seconds, &parts) == nullptr) return std::nullopt;
    return parts;
}

std::optional<Instant> localMidnight(std::tm parts) {
    parts.tm_hour = 0;
    parts.tm_min = 0;
    parts.tm_sec = 0;
    // Let the zone decide whether daylight time applies at that midnight.
    parts.tm_isdst = -1;
    const std::time_t result = std::mktime(&parts);
    if (result == static_cast<std::time_t>(-1)) return std::nullopt;
    return static_cast<Instant>(result);
}

std::optional<std::string> formatWith(icu::DateFormat& format, Instant instant) {
    if (!std::isfinite(instant) || std::fabs(instant) > maxAbsoluteSeconds) return std::nullopt;
    icu::UnicodeString text;
    format.format(instant * 1000.0, text);
    if (text.isEmpty()) return std::nullopt;
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace

std::optional<Instant> Dates::startOfLocalDay(Instant instant) {
    const auto parts = localParts(instant);
    if (!parts) return std::nullopt;
    return localMidnight(*parts);
}

std::optional<Instant> Dates::addLocalDays(Instant instant, int days) {
    auto parts = localParts(instant);
    if (!parts) return std::nullopt;
    parts->tm_mday += days;
    return localMidnight(*parts);
}

std::optional<Instant> Dates::atLocalHour(Instant instant, int hour) {
    auto parts = localParts(instant);
    if (!parts) return std::nullopt;
    parts->tm_hour = hour;
    parts->tm_min = 0;
    parts->tm_sec = 0;
    parts->tm_isdst = -1;
    const std::time_t result = std::mktime(&*parts);
    if (result == static_cast<std::time_t>(-1)) return std::nullopt;
    return static_cast<Instant>(result);
}

std::optional<std::string> Dates::isoDay(Instant instant) {
    const auto parts = localParts(instant);
    if (!parts) return std::nullopt;
    char buffer[32];
    const int length = std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", parts->tm_year + 1900,
                                     parts->tm_mon + 1, parts->tm_mday);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof buffer) return std::nullopt;
    return std::string(buffer, static_cast<std::size_t>(length));
}

std::optional<Instant> Dates::parseIsoDay(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const auto digits = [&](std::size_t from, std::size_t count) -> std::optional<int> {
        int value = 0;
        for (std::size_t i = from; i < from + count; ++i) {
            if (text[i] < '0' || text[i] > '9') return std::nullopt;
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    const auto year = digits(0, 4), month = digits(5, 2), day = digits(8, 2);
    if (!year || !month || !day || *month < 1 || *month > 12 || *day < 1) return std::nullopt;
    std::tm parts{};
    parts.tm_year = *year - 1900;
    parts.tm_mon = *month - 1;
    parts.tm_mday = *day;
    parts.tm_hour = 12;  // noon exists on every day, whatever the zone's clock changes
    parts.tm_isdst = -1;
    std::tm normalised = parts;
    const std::time_t noon = std::mktime(&normalised);
    if (noon == static_cast<std::time_t>(-1)) return std::nullopt;
    // mktime rolls 2025-02-30 over into March; such a date does not exist.
    if (normalised.tm_mday != *day || normalised.tm_mon != *month - 1) return std::nullopt;
    return startOfLocalDay(static_cast<Instant>(noon));
}

std::optional<std::string> Dates::fromSkeleton(Instant instant, std::string_view skeleton,
                                               std::string_view localeId) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale(std::string(localeId).c_str());
    std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status) || !generator) return std::nullopt;
    const icu::UnicodeString pattern =
        generator->getBestPattern(icu::UnicodeString::fromUTF8(std::string(skeleton)), status);
    if (U_FAILURE(status)) return std::nullopt;
    icu::SimpleDateFormat format(pattern, locale, status);
    if (U_FAILURE(status)) return std::nullopt;
    return formatWith(format, instant);
}

std::vector<std::string> Dates::fromSkeleton(const std::vector<Instant>& instants, std::string_view skeleton,
                                             std::string_view localeId) {
    std::vector<std::string> texts;
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale(std::string(localeId).c_str());
    std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status) || !generator) return texts;
    const icu::UnicodeString pattern =
        generator->getBestPattern(icu::UnicodeString::fromUTF8(std::string(skeleton)), status);
    if (U_FAILURE(status)) return texts;
    icu::SimpleDateFormat format(pattern, locale, status);
    if (U_FAILURE(status)) return texts;
    for (const Instant instant : instants) texts.push_back(formatWith(format, instant).value_or(""));
    return texts;
}

std::optional<std::string> Dates::shortTime(Instant instant, std::string_view localeId) {
    const icu::Locale locale(std::string(localeId).c_str());
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, locale));
    if (!format) return std::nullopt;
    return formatWith(*format, instant);
}

}  // namespace torvel
