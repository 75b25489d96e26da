#include "history/journal_parser.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace torvel::detail {
namespace {

namespace ondemand = simdjson::ondemand;

// 2^63: the first double beyond the signed 64-bit range.
constexpr double int64Limit = 9223372036854775808.0;

// The on-demand parser only checks what it is asked to read, but a line is a reading only when all of it is
// valid JSON, so every value, the ones no key asks for included, is read through once.
bool validate(ondemand::value value) {
    ondemand::json_type type;
    if (value.type().get(type) != simdjson::SUCCESS) return false;
    switch (type) {
        case ondemand::json_type::number: {
            ondemand::number number;
            return value.get_number().get(number) == simdjson::SUCCESS;
        }
        case ondemand::json_type::string: {
            std::string_view text;
            return value.get_string().get(text) == simdjson::SUCCESS;
        }
        case ondemand::json_type::boolean: {
            bool flag = false;
            return value.get_bool().get(flag) == simdjson::SUCCESS;
        }
        case ondemand::json_type::null: {
            bool null = false;
            return value.is_null().get(null) == simdjson::SUCCESS && null;
        }
        case ondemand::json_type::array: {
            ondemand::array array;
            if (value.get_array().get(array) != simdjson::SUCCESS) return false;
            for (auto element : array) {
                ondemand::value inner;
                if (std::move(element).get(inner) != simdjson::SUCCESS || !validate(inner)) return false;
            }
            return true;
        }
        case ondemand::json_type::object: {
            ondemand::object object;
            if (value.get_object().get(object) != simdjson::SUCCESS) return false;
            for (auto field : object) {
                ondemand::field member;
                std::string_view key;
                if (std::move(field).get(member) != simdjson::SUCCESS ||
                    member.unescaped_key().get(key) != simdjson::SUCCESS || !validate(member.value())) {
                    return false;
                }
            }
            return true;
        }
    }
    return false;
}

// A number field: absent for another type, an error for malformed JSON.
enum class Read { number, other, malformed };

Read readNumber(ondemand::value value, ondemand::number& number) {
    ondemand::json_type type;
    if (value.type().get(type) != simdjson::SUCCESS) return Read::malformed;
    if (type != ondemand::json_type::number) return validate(value) ? Read::other : Read::malformed;
    return value.get_number().get(number) == simdjson::SUCCESS ? Read::number : Read::malformed;
}

bool isWhole(const ondemand::number& number) {
    if (!number.is_double()) return true;
    const double raw = number.get_double();
    return std::trunc(raw) == raw;
}

// Integers are judged by value, not by spelling: the older key's rule reads 29.0 as a whole number too.
std::optional<std::int64_t> integral(const ondemand::number& number) {
    if (number.is_int64()) return number.get_int64();
    if (!number.is_double()) return std::nullopt;
    const double raw = number.get_double();
    if (std::trunc(raw) != raw || raw >= int64Limit || raw < -int64Limit) return std::nullopt;
    return static_cast<std::int64_t>(raw);
}

// The key as written, read in place: the journal's keys never carry escapes, and unescaping each of six keys
// on every line would cost more than the rest of the line. A key with a backslash takes the careful path.
std::optional<std::string_view> keyOf(ondemand::field& member) {
    const char* raw = member.key().raw();
    std::size_t length = 0;
    while (raw[length] != '"' && raw[length] != '\\') ++length;
    if (raw[length] == '"') return std::string_view(raw, length);
    std::string_view unescaped;
    if (member.unescaped_key().get(unescaped) != simdjson::SUCCESS) return std::nullopt;
    return unescaped;
}

}  // namespace

bool JournalParser::parseLine(const char* data, std::size_t size, std::size_t readable, HistorySample& out) {
    ondemand::document document;
    if (parser_.iterate(data, size, readable).get(document) != simdjson::SUCCESS) return false;
    ondemand::object object;
    if (document.get_object().get(object) != simdjson::SUCCESS) return false;

    // Keys are read in any order; a repeated key counts by its last occurrence.
    std::optional<double> date, tenths, older;
    std::optional<std::int64_t> pct;
    bool olderWhole = false;
    std::optional<std::string_view> state;
    bool plugged = false;
    for (auto field : object) {
        ondemand::field member;
        if (std::move(field).get(member) != simdjson::SUCCESS) return false;
        const auto key = keyOf(member);
        if (!key) return false;
        ondemand::value value = member.value();
        ondemand::number number;
        if (*key == "t" || *key == "p" || *key == "ct" || *key == "c") {
            const Read read = readNumber(value, number);
            if (read == Read::malformed) return false;
            const bool isNumber = read == Read::number;
            if (*key == "t") {
                date = isNumber ? std::optional(number.as_double()) : std::nullopt;
            } else if (*key == "p") {
                pct = isNumber ? integral(number) : std::nullopt;
            } else if (*key == "ct") {
                tenths = isNumber ? std::optional(number.as_double()) : std::nullopt;
            } else {
                older = isNumber ? std::optional(number.as_double()) : std::nullopt;
                olderWhole = isNumber && isWhole(number);
            }
        } else if (*key == "s") {
            std::string_view text;
            ondemand::json_type type;
            if (value.type().get(type) != simdjson::SUCCESS) return false;
            if (type == ondemand::json_type::string) {
                if (value.get_string().get(text) != simdjson::SUCCESS) return false;
                state = text;
            } else {
                if (!validate(value)) return false;
                state.reset();
            }
        } else if (*key == "g") {
            ondemand::json_type type;
            if (value.type().get(type) != simdjson::SUCCESS) return false;
            if (type == ondemand::json_type::boolean) {
                if (value.get_bool().get(plugged) != simdjson::SUCCESS) return false;
            } else {
                if (!validate(value)) return false;
                plugged = false;
            }
        } else if (!validate(value)) {
            return false;
        }
    }
    // Anything after the object ("{...}{...}", "{...} x") makes the line something other than one reading.
    const char* trailing = nullptr;
    if (document.current_location().get(trailing) != simdjson::OUT_OF_BOUNDS) return false;
    if (!date || !pct) return false;

    out.date = *date;
    out.pct = *pct;
    if (tenths) {
        out.temp = *tenths / 10.0;
    } else if (older) {
        // The older key held tenths when written as a whole number and degrees when it had a fraction.
        out.temp = olderWhole ? *older / 10.0 : *older;
    } else {
        out.temp.reset();
    }
    out.state = state ? chargeStateNamed(*state) : ChargeState::allow;
    out.plugged = plugged;
    return true;
}

void JournalParser::appendDay(const char* data, std::size_t size, std::vector<HistorySample>& out) {
    // A file being written may end mid-character; the whole file then reads as undecodable, as it would
    // through any strict UTF-8 decoder, and the next reload picks it up complete.
    if (!simdjson::validate_utf8(data, size)) return;
    const char* const end = data + size;
    // Growing by whole multiples keeps a month gathered day by day from moving its samples thirty times.
    // A line is rarely under 40 bytes, so this is a slight overestimate that spares counting the lines.
    const std::size_t needed = out.size() + size / 40 + 1;
    if (needed > out.capacity()) out.reserve(std::max(needed, out.capacity() * 2));
    HistorySample sample;
    for (const char* line = data; line < end;) {
        const char* newline =
            static_cast<const char*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
        const char* lineEnd = newline != nullptr ? newline : end;
        const auto length = static_cast<std::size_t>(lineEnd - line);
        if (length > 0 && parseLine(line, length, static_cast<std::size_t>(end - line) + padding, sample)) {
            out.push_back(sample);
        }
        line = lineEnd + 1;
    }
}

}  // namespace torvel::detail
