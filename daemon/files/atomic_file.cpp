#include "files/atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <vector>

#include "common/syscalls.h"

namespace torvel::daemon {
namespace fs = std::filesystem;

FileError replaceFile(const fs::path& file, std::string_view bytes, mode_t mode, bool durable) {
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
    if (durable && retryOnInterrupt([&] { return ::fsync(out.get()); }) != 0) return fail("sync");
    if (::renameat(directory.get(), temporary.c_str(), directory.get(), name.c_str()) != 0)
        return fail("replace");
    if (durable) ::fsync(directory.get());
    return std::nullopt;
}

std::optional<std::string> readFileNoFollow(const fs::path& file, int& error, std::size_t maxBytes) {
    // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer that never comes.
    const FileDescriptor in(retryOnInterrupt(
        [&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); }));
    if (!in.valid()) {
        error = errno;
        return std::nullopt;
    }
    struct stat info {};
    if (::fstat(in.get(), &info) != 0) {
        error = errno;
        return std::nullopt;
    }
    if (!S_ISREG(info.st_mode)) {
        error = EINVAL;
        return std::nullopt;
    }
    if (static_cast<std::uintmax_t>(info.st_size) > maxBytes) {
        error = EFBIG;
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
        // The file may grow while it is read.
        if (bytes.size() + static_cast<std::size_t>(n) > maxBytes) {
            error = EFBIG;
            return std::nullopt;
        }
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
}

std::optional<fs::path> keepAside(const fs::path& file) {
    for (int attempt = 1; attempt < 1000; ++attempt) {
        auto kept = file;
        kept += attempt == 1 ? std::string(".bad") : ".bad-" + std::to_string(attempt);
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, kept.c_str(), RENAME_NOREPLACE) == 0) return kept;
        if (errno != EEXIST) return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

std::optional<std::string> keepAsideAt(int directoryFd, const std::string& name) {
    for (int n = 1; n < 1000; ++n) {
        const std::string aside = name + (n == 1 ? std::string(".bad") : ".bad-" + std::to_string(n));
        if (::renameat2(directoryFd, name.c_str(), directoryFd, aside.c_str(), RENAME_NOREPLACE) == 0)
            return aside;
        if (errno != EEXIST) return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

int openForAppend(int directoryFd, const std::string& name, std::string& note) {
    // Readable too, so appendWhole can look at how the last line ended.
    constexpr int flags = O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    for (int attempt = 0; attempt < 3; ++attempt) {
        FileDescriptor fd(retryOnInterrupt([&] { return ::openat(directoryFd, name.c_str(), flags, 0644); }));
        struct stat info {};
        const bool ours =
            fd.valid() && ::fstat(fd.get(), &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1;
        if (ours) return fd.release();
        if (!fd.valid() && errno != ELOOP && errno != ENXIO) return -1;
        fd.reset();
        const auto aside = keepAsideAt(directoryFd, name);
        if (!aside) return -1;
        note = name + " was a link or not a plain file; kept as " + *aside + " and started afresh";
    }
    errno = ELOOP;
    return -1;
}

namespace {

// Where the file should end for its last line to be whole: just after its last line feed. A tail without
// one in the last stretch read is not a torn line of ours (our lines are short): it is left as it is.
std::optional<off_t> endOfLastLine(int fd, off_t size) {
    constexpr off_t stretch = 4096;
    char tail[stretch];
    const off_t from = std::max<off_t>(0, size - stretch);
    const ssize_t n =
        retryOnInterrupt([&] { return ::pread(fd, tail, static_cast<std::size_t>(size - from), from); });
    if (n != size - from) return std::nullopt;
    for (ssize_t i = n; i > 0; --i) {
        if (tail[i - 1] == '\n') return from + i;
    }
    return from == 0 ? std::optional<off_t>(0) : std::nullopt;
}

}  // namespace

bool appendWhole(int fd, std::string_view bytes) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) return false;
    off_t size = info.st_size;
    char last = '\n';
    if (size > 0 && retryOnInterrupt([&] { return ::pread(fd, &last, 1, size - 1); }) == 1 && last != '\n') {
        if (const auto end = endOfLastLine(fd, size); end && ::ftruncate(fd, *end) == 0) size = *end;
    }
    if (writeAll(fd, bytes)) return true;
    const int error = errno;
    // The file is ours alone (the caller holds the state directory's lock): what it held before stands. A cut
    // that fails too is tried again, torn line and all, before the next append.
    [[maybe_unused]] const int cut = ::ftruncate(fd, size);
    errno = error;
    return false;
}

namespace {

// "." name "." pid "." counter, as replaceFile makes them.
bool isTemporaryName(std::string_view name) {
    if (name.size() < 5 || name[0] != '.') return false;
    int numbers = 0;
    std::size_t end = name.size();
    while (numbers < 2) {
        const auto dot = name.rfind('.', end - 1);
        if (dot == std::string_view::npos || dot == 0 || dot + 1 == end) return false;
        for (std::size_t i = dot + 1; i < end; ++i) {
            if (name[i] < '0' || name[i] > '9') return false;
        }
        end = dot;
        ++numbers;
    }
    return end > 1;
}

}  // namespace

void removeTemporaryFiles(const fs::path& directory) {
    const FileDescriptor folder(retryOnInterrupt(
        [&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    if (!folder.valid()) return;
    FileDescriptor copy(::dup(folder.get()));
    DIR* listing = copy.valid() ? ::fdopendir(copy.get()) : nullptr;
    if (listing == nullptr) return;
    copy.release();
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(listing)) {
        if (isTemporaryName(entry->d_name)) names.emplace_back(entry->d_name);
    }
    ::closedir(listing);
    for (const auto& name : names) ::unlinkat(folder.get(), name.c_str(), 0);
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
