#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "common/files.h"

namespace torvel {

inline constexpr std::size_t logTailBytes = 32768;
inline constexpr std::size_t logTailLines = 50;

// The last lines of the service's log for the diagnostic report: at most the final 32,768 bytes, without
// the first line when it was cut, the last 50 non-empty lines, invalid UTF-8 replaced. A missing or
// unreadable file gives a short parenthesised note instead.
std::string logTail(const std::filesystem::path& path);

// The same from bytes already read (`fileSize` is the whole file's size).
std::string logTailText(const FileTail& tail);

// Replaces every invalid UTF-8 sequence with U+FFFD.
std::string repairUtf8(std::string_view bytes);

}  // namespace torvel
