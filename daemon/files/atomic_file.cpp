#include "files/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "common/syscalls.h"

namespace torvel::daemon {
namespace fs = std::filesystem;

FileError replaceFile(const fs::path& file, std::string_view bytes, mode_t mode) {
    const std::string name = file.filename().string();
    const FileDescriptor directory(retryOnInterrupt(
        [&] { return ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!directory.valid()) return systemError("open the folder of", name, errno);

    static std::atomic<unsigned> counter{0};
    const std::string temporary =
        "." + name + "." + std::to_string(::getpid()) + "." + std::to_string(counter++);
    const FileDescriptor out(retryOnInterrupt([&] {
        return ::openat(directory.get(), temporary.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    }));
    if (!out.valid()) return systemError("create a temporary file for", name, errno);
    const auto fail = [&](std::string_view operation) {
        const int error = errno;
        ::unlinkat(directory.get(), temporary.c_str(), 0);
        return systemError(operation, name, error);
    };
    // The umask may have narrowed the mode; readers (the app) need exactly this one.
    if (::fchmod(out.get(), mode) != 0) return fail("set the mode of");
    if (!writeAll(out.get(), bytes)) return fail("write");
    if (retryOnInterrupt([&] { return ::fsync(out.get()); }) != 0) return fail("sync");
    if (::renameat(directory.get(), temporary.c_str(), directory.get(), name.c_str()) != 0)
        return fail("replace");
    ::fsync(directory.get());
    return std::nullopt;
}

std::optional<std::string> readFileNoFollow(const fs::path& file, int& error) {
    const FileDescriptor in(
        retryOnInterrupt([&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC); }));
    if (!in.valid()) {
        error = errno;
        return std::nullopt;
    }
    std::string bytes;
    char buffer[16384];
    for (;;) {
        const ssize_t n = retryOnInterrupt([&] { return ::read(in.get(), buffer, sizeof buffer); });
        if (n == 0) return bytes;
        if (n < 0) {
            error = errno;
            return std::nullopt;
        }
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
}

FileError ensureDirectory(const fs::path& directory, mode_t mode) {
    std::error_code error;
    if (fs::is_directory(directory, error)) return std::nullopt;
    fs::create_directories(directory, error);
    if (error) return systemError("create", directory.string(), error.value());
    ::chmod(directory.c_str(), mode);
    return std::nullopt;
}

}  // namespace torvel::daemon
