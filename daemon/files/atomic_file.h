#pragma once

#include <sys/types.h>

#include <cstddef>
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
// the name is replaced, never followed. Without `durable` both fsyncs are left out: a reader still never sees
// a mix, but a power cut may lose the file, which suits one rewritten every few seconds anyway.
FileError replaceFile(const std::filesystem::path& file, std::string_view bytes, mode_t mode = 0644,
                      bool durable = true);

// Creates the directory and its parents when missing (the installed unit creates them; test and demo runs
// under TORVEL_ROOT do not).
FileError ensureDirectory(const std::filesystem::path& directory, mode_t mode = 0755);

// The whole file, refusing a link at the name (ELOOP) as a service running as root must, anything but a
// regular file (EINVAL: a FIFO would block the service, a device would never end) and a file larger than
// `maxBytes` (EFBIG). On failure `error` receives the errno.
std::optional<std::string> readFileNoFollow(const std::filesystem::path& file, int& error,
                                            std::size_t maxBytes = 1024 * 1024);

// Renames `file` to file.bad, or file.bad-2, file.bad-3… when those exist: no kept file is ever replaced.
// Returns the new name, or absent with errno set.
std::optional<std::filesystem::path> keepAside(const std::filesystem::path& file);

// Opens `name` inside the directory for appending, creating it when missing. A link or a hard-linked file
// at the name (someone wanting root to write into another file) is renamed aside as keepAside does and a
// fresh file takes its place; `note` then says so. Returns -1 with errno on failure.
int openForAppend(int directoryFd, const std::string& name, std::string& note);

// Renames `name` inside the directory to name.bad, or name.bad-2, name.bad-3… when those exist. Returns the
// new name, or absent with errno set.
std::optional<std::string> keepAsideAt(int directoryFd, const std::string& name);

// Appends `bytes` whole or not at all to a file opened by openForAppend: a short write (a full disk) is cut
// back off, so a reader never meets half a line, not even after space returns. A line an earlier crash left
// torn is cut off first. Returns false with errno set.
bool appendWhole(int fd, std::string_view bytes);

// Deletes the temporary files replaceFile leaves behind when the process dies between create and rename.
// Only names of that form are touched; call it when no other writer can be at work.
void removeTemporaryFiles(const std::filesystem::path& directory);

}  // namespace torvel::daemon
