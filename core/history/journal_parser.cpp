#include "history/journal_parser.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace torvel::detail {
namespace {

// 2^63: the first double beyond the signed 64-bit range.
constexpr double int64Limit = 9223372036854775808.0;

std::optional<double> number(simdjson::dom::element value) {
    double result = 0;
    if (value.get_double().get(result) != simdjson::SUCCESS) return std::nullopt;
    return result;
}

// Integers are judged by value, not by spelling: the service's older builds wrote 29.0 where 29 was meant.
std::optional<std::int64_t> integral(simdjson::dom::element value) {
    if (value.is_int64()) return value.get_int64().value_unsafe();
    if (!value.is_double()) return std::nullopt;
    const double raw = value.get_double().value_unsafe();
    if (std::trunc(raw) != raw || raw >= int64Limit || raw < -int64Limit) return std::nullopt;
    return static_cast<std::int64_t>(raw);
}

std::optional<double> temperature(const simdjson::dom::object& object) {
    simdjson::dom::element value;
    if (object["ct"].get(value) == simdjson::SUCCESS) {
        if (auto tenths = number(value)) return *tenths / 10.0;
    }
    if (object["c"].get(value) != simdjson::SUCCESS) return std::nullopt;
    const auto raw = number(value);
    if (!raw) return std::nullopt;
    // The older key held tenths when written as a whole number and degrees when it had a fraction.
    return std::trunc(*raw) == *raw ? *raw / 10.0 : *raw;
}

}  // namespace

bool JournalParser::parseLine(const char* data, std::size_t size, HistorySample& out) {
    simdjson::dom::object object;
    if (parser_.parse(data, size, /*realloc_if_needed=*/false).get_object().get(object) !=
        simdjson::SUCCESS) {
        return false;
    }
    simdjson::dom::element value;
    if (object["t"].get(value) != simdjson::SUCCESS) return false;
    const auto date = number(value);
    if (!date) return false;
    if (object["p"].get(value) != simdjson::SUCCESS) return false;
    const auto pct = integral(value);
    if (!pct) return false;

    out.date = *date;
    out.pct = *pct;
    out.temp = temperature(object);
    std::string_view state;
    if (object["s"].get(value) == simdjson::SUCCESS && value.get_string().get(state) == simdjson::SUCCESS) {
        out.state.assign(state);
    } else {
        out.state.assign("allow");
    }
    bool plugged = false;
    out.plugged = object["g"].get(value) == simdjson::SUCCESS &&
                  value.get_bool().get(plugged) == simdjson::SUCCESS && plugged;
    return true;
}

void JournalParser::appendDay(const char* data, std::size_t size, std::vector<HistorySample>& out) {
    // A file being written may end mid-character; the whole file then reads as undecodable, as it would
    // through any strict UTF-8 decoder, and the next reload picks it up complete.
    if (!simdjson::validate_utf8(data, size)) return;
    const char* const end = data + size;
    out.reserve(out.size() + static_cast<std::size_t>(std::count(data, end, '\n')) + 1);
    HistorySample sample;
    for (const char* line = data; line < end;) {
        const char* newline =
            static_cast<const char*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
        const char* lineEnd = newline != nullptr ? newline : end;
        if (lineEnd != line && parseLine(line, static_cast<std::size_t>(lineEnd - line), sample)) {
            out.push_back(sample);
        }
        line = lineEnd + 1;
    }
}

}  // namespace torvel::detail
