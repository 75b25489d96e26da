#include "history/sample.h"

#include <charconv>
#include <cmath>

#include "history/journal_parser.h"

namespace torvel {
namespace {

void appendNumber(std::string& out, double value) {
    if (!std::isfinite(value)) {
        // JSON has no spelling for these; null makes the reader skip the line rather than guess.
        out += "null";
        return;
    }
    char buffer[512];
    // Fixed notation keeps times readable ("1700000000.5", never "1.7e+09"); beyond 2^53 it would spell a
    // long integer that readers refuse as out of range, so such a value keeps its shortest exact form.
    const bool readableAsFixed = std::fabs(value) < 9007199254740992.0;
    const auto result = readableAsFixed
                            ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
                            : std::to_chars(buffer, buffer + sizeof buffer, value);
    if (result.ec != std::errc()) {
        out += "null";
        return;
    }
    out.append(buffer, result.ptr);
}

}  // namespace

std::string JournalLine::encode(const HistorySample& sample) {
    std::string line;
    line.reserve(64);
    line += "{\"t\":";
    appendNumber(line, sample.date);
    line += ",\"p\":";
    line += std::to_string(sample.pct);
    if (sample.temp && std::isfinite(*sample.temp)) {
        line += ",\"ct\":";
        // Sensors report tenths; rounding away the float noise of ×10 keeps "312" from becoming
        // "312.00000000000006" while a finer reading keeps its fraction.
        const double tenths = *sample.temp * 10.0;
        const double rounded = std::round(tenths);
        appendNumber(line, std::fabs(tenths - rounded) < 1e-6 ? rounded : tenths);
    }
    line += ",\"s\":\"";
    // A word this version did not know cannot be written back as it was; an empty one keeps it unknown
    // rather than turning it into "allow".
    if (sample.state) line += word(*sample.state);
    line += '"';
    line += sample.plugged ? ",\"g\":true}" : ",\"g\":false}";
    return line;
}

std::optional<HistorySample> JournalLine::parse(std::string_view line) {
    std::string padded(line);
    padded.append(detail::JournalParser::padding, '\0');
    detail::JournalParser parser;
    HistorySample sample;
    if (line.find('\n') != std::string_view::npos) return std::nullopt;
    if (!simdjson::validate_utf8(padded.data(), line.size())) return std::nullopt;
    if (!parser.parseLine(padded.data(), line.size(), padded.size(), sample)) return std::nullopt;
    return sample;
}

}  // namespace torvel
