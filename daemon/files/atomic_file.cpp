#include "files/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace torvel::daemon {
namespace fs = std::filesystem;

std::string systemError(std::string_view operation, const fs::path& file, int error) {
    return "cannot " + std::string(operation) + " " + file.filename().string() + ": " + std::strerror(error);
}

namespace {

struct Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace

FileError replaceFile(const fs::path& file, std::string_view bytes, mode_t mode) {
    Descriptor directory{::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (directory.fd < 0) return systemError("open the folder of", file, errno);

    static std::atomic<unsigned> counter{0};
    const std::string name = file.filename().string();
    const std::string temporary =
        "." + name + "." + std::to_string(::getpid()) + "." + std::to_string(counter++);
    Descriptor out{::openat(directory.fd, temporary.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode)};
    if (out.fd < 0) return systemError("create a temporary file for", file, errno);
    const auto fail = [&](std::string_view operation) {
        const int error = errno;
        ::unlinkat(directory.fd, temporary.c_str(), 0);
        return systemError(operation, file, error);
    };
    // The umask may have narrowed the mode; readers (the app) need exactly this one.
    if (::fchmod(out.fd, mode) != 0) return fail("set the mode of");
    if (!writeAll(out.fd, bytes)) return fail("write");
    if (::fsync(out.fd) != 0) return fail("sync");
    if (::renameat(directory.fd, temporary.c_str(), directory.fd, name.c_str()) != 0) return fail("replace");
    ::fsync(directory.fd);
    return std::nullopt;
}

std::optional<std::string> readFileNoFollow(const fs::path& file, int& error) {
    Descriptor in{::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
    if (in.fd < 0) {
        error = errno;
        return std::nullopt;
    }
    std::string bytes;
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(in.fd, buffer, sizeof buffer);
        if (n == 0) return bytes;
        if (n < 0) {
            if (errno == EINTR) continue;
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
    if (error) return "cannot create " + directory.string() + ": " + error.message();
    ::chmod(directory.c_str(), mode);
    return std::nullopt;
}

}  // namespace torvel::daemon
