#include "common/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/syscalls.h"

namespace torvel {
namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// Reads until end of file from the current offset; files in /sys and pipes report no useful size.
std::error_code readRest(int fd, std::string& out) {
    char buffer[65536];
    for (;;) {
        const ssize_t n = retryOnInterrupt([&] { return ::read(fd, buffer, sizeof buffer); });
        if (n == 0) return {};
        if (n < 0) return lastError();
        out.append(buffer, static_cast<std::size_t>(n));
    }
}

}  // namespace

FileContents readWholeFile(const std::filesystem::path& path) {
    const FileDescriptor fd(retryOnInterrupt([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!fd.valid()) return lastError();
    std::string bytes;
    struct stat info {};
    if (::fstat(fd.get(), &info) == 0 && info.st_size > 0)
        bytes.reserve(static_cast<std::size_t>(info.st_size));
    if (auto error = readRest(fd.get(), bytes)) return error;
    return bytes;
}

std::variant<FileTail, std::error_code> readFileTail(const std::filesystem::path& path,
                                                     std::size_t maxBytes) {
    const FileDescriptor fd(retryOnInterrupt([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!fd.valid()) return lastError();
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0) return lastError();
    FileTail tail;
    tail.fileSize = static_cast<std::uintmax_t>(info.st_size);
    if (tail.fileSize > maxBytes) {
        if (::lseek(fd.get(), static_cast<off_t>(tail.fileSize - maxBytes), SEEK_SET) < 0) return lastError();
    }
    if (auto error = readRest(fd.get(), tail.bytes)) return error;
    // A file that grew between fstat and read must still yield at most maxBytes.
    if (tail.bytes.size() > maxBytes) tail.bytes.erase(0, tail.bytes.size() - maxBytes);
    return tail;
}

std::error_code writeWholeFile(const std::filesystem::path& path, std::string_view bytes) {
    const FileDescriptor fd(retryOnInterrupt(
        [&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644); }));
    if (!fd.valid()) return lastError();
    if (!writeAll(fd.get(), bytes)) return lastError();
    return {};
}

}  // namespace torvel
