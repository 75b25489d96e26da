#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "common/texts.h"

namespace torvel::cli {

// Exit statuses: 0 done, 1 the command ran but could not do its work, 2 the command line was wrong.
inline constexpr int exitOk = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitUsage = 2;

// Runs one torvelctl command line (without the program name), writing to the given streams.
int run(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);

// One line of output: a translated text, then the end of the line.
inline void printLine(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fputc('\n', stream);
}

// The columns a text takes in a terminal: one a UTF-8 character, whatever its number of bytes.
inline std::size_t columnsOf(std::string_view text) {
    std::size_t characters = 0;
    for (const char byte : text) characters += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    return characters;
}

// The text followed by spaces up to `columns`, so that a table lines up whatever the language's words.
inline std::string padded(std::string_view text, std::size_t columns) {
    std::string line(text);
    if (const std::size_t taken = columnsOf(text); taken < columns) line.append(columns - taken, ' ');
    return line;
}

// The sub-commands, each in a file of its own.
int statusCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int journalCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int checkupCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int reportCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int setCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int topupCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int calibrateCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int installCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int uninstallCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int batteryCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
int probeCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);

}  // namespace torvel::cli
