#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace torvel::daemon {

// Failure text ("cannot write config.json: No space left on device"), absent on success. The texts name the
// file, never its whole path, so they read the same under a test root.
using FileError = std::optional<std::string>;

// Replaces `file` so that a reader sees the old bytes or the new ones, never a mix, even across a crash:
// a temporary file in the same directory, fsync, rename over the name, fsync of the directory. A link at
// the name is replaced, never followed.
FileError replaceFile(const std::filesystem::path& file, std::string_view bytes, mode_t mode = 0644);

// Creates the directory and its parents when missing (the installed unit creates them; test and demo runs
// under TORVEL_ROOT do not).
FileError ensureDirectory(const std::filesystem::path& directory, mode_t mode = 0755);

// The whole file, refusing a link at the name (ELOOP) as a service running as root must. On failure
// `error` receives the errno.
std::optional<std::string> readFileNoFollow(const std::filesystem::path& file, int& error);

}  // namespace torvel::daemon
