#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <variant>

namespace torvel {

// A whole file, or why it could not be read (an errno-based code).
using FileContents = std::variant<std::string, std::error_code>;

FileContents readWholeFile(const std::filesystem::path& path);

// The last `maxBytes` of a file together with the file's full size, so callers can tell a tail from a whole.
struct FileTail {
    std::string bytes;
    std::uintmax_t fileSize = 0;
};
std::variant<FileTail, std::error_code> readFileTail(const std::filesystem::path& path, std::size_t maxBytes);

// Plain, non-atomic write: only the app's fallback uses it, for a file the service normally owns.
std::error_code writeWholeFile(const std::filesystem::path& path, std::string_view bytes);

}  // namespace torvel
