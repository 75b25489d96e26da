#include "service/log_tail.h"

#include <unicode/ustring.h>

#include <cerrno>
#include <deque>
#include <string_view>
#include <vector>

namespace torvel {

std::string repairUtf8(std::string_view bytes) {
    if (bytes.empty()) return {};
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    const auto size = static_cast<int32_t>(bytes.size());
    u_strFromUTF8WithSub(nullptr, 0, &length, bytes.data(), size, 0xFFFD, nullptr, &status);
    if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return {};
    std::vector<UChar> utf16(static_cast<std::size_t>(length));
    status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(utf16.data(), length, nullptr, bytes.data(), size, 0xFFFD, nullptr, &status);
    if (U_FAILURE(status)) return {};

    int32_t outLength = 0;
    status = U_ZERO_ERROR;
    u_strToUTF8(nullptr, 0, &outLength, utf16.data(), length, &status);
    std::string out(static_cast<std::size_t>(outLength), '\0');
    status = U_ZERO_ERROR;
    u_strToUTF8(out.data(), outLength, nullptr, utf16.data(), length, &status);
    return U_FAILURE(status) ? std::string() : out;
}

std::string logTailText(const FileTail& tail) {
    const std::string text = repairUtf8(tail.bytes);
    std::deque<std::string_view> lines;
    std::string_view rest = text;
    while (!rest.empty()) {
        const auto newline = rest.find('\n');
        const std::string_view line = rest.substr(0, newline);
        if (!line.empty()) lines.push_back(line);
        rest = newline == std::string_view::npos ? std::string_view() : rest.substr(newline + 1);
    }
    // A tail that starts mid-file starts mid-line; a file of exactly the tail's size is whole.
    if (tail.fileSize > logTailBytes && !lines.empty()) lines.pop_front();
    while (lines.size() > logTailLines) lines.pop_front();
    if (lines.empty()) return "(empty)";

    std::string joined;
    for (const auto& line : lines) {
        if (!joined.empty()) joined += '\n';
        joined += line;
    }
    return joined;
}

std::string logTail(const std::filesystem::path& path) {
    auto tail = readFileTail(path, logTailBytes);
    if (const auto* error = std::get_if<std::error_code>(&tail)) {
        if (*error == std::errc::no_such_file_or_directory) return "(no log file)";
        if (*error == std::errc::permission_denied) return "(unreadable: permission denied)";
        return "(unreadable)";
    }
    return logTailText(std::get<FileTail>(tail));
}

}  // namespace torvel
