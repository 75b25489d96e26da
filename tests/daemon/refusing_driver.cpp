// Preloaded into a process, makes writes to charge_control_end_threshold fail the way a real driver's do,
// which a plain file cannot: $TORVEL_REFUSING_DRIVER is "eio" (every write fails with EIO, as a controller
// that does not answer) or a comma-separated list of the values taken (any other fails with EINVAL). A
// refused write leaves the file as it was, as sysfs does, so the truncation on open waits for a write that is
// taken.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view attribute = "/charge_control_end_threshold";

bool isEndThreshold(std::string_view path) {
    return path.size() >= attribute.size() && path.substr(path.size() - attribute.size()) == attribute;
}

bool isEndThreshold(int fd) {
    char link[64];
    char path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = ::readlink(link, path, sizeof path);
    return n > 0 && isEndThreshold(std::string_view(path, static_cast<std::size_t>(n)));
}

// The errno the driver answers `text` with, or 0 when it takes it.
int refusal(const void* bytes, std::size_t size) {
    const char* driver = std::getenv("TORVEL_REFUSING_DRIVER");
    if (driver == nullptr) return 0;
    if (std::string_view(driver) == "eio") return EIO;
    const int value = std::atoi(std::string(static_cast<const char*>(bytes), size).c_str());
    for (const char* taken = driver; *taken != '\0';) {
        char* end = nullptr;
        const long each = std::strtol(taken, &end, 10);
        if (end == taken) break;
        if (each == value) return 0;
        taken = *end == ',' ? end + 1 : end;
    }
    return EINVAL;
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

int openWithoutTruncation(const char* realName, const char* path, int flags, mode_t mode) {
    using Open = int (*)(const char*, int, ...);
    if (std::getenv("TORVEL_REFUSING_DRIVER") != nullptr && isEndThreshold(path)) flags &= ~O_TRUNC;
    return next<Open>(realName)(path, flags, mode);
}

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openWithoutTruncation("open", path, flags, mode);
}

extern "C" int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openWithoutTruncation("open64", path, flags, mode);
}

extern "C" ssize_t write(int fd, const void* bytes, size_t size) {
    using Write = ssize_t (*)(int, const void*, size_t);
    static const auto real = next<Write>("write");
    if (std::getenv("TORVEL_REFUSING_DRIVER") == nullptr || !isEndThreshold(fd)) return real(fd, bytes, size);
    if (const int code = refusal(bytes, size)) {
        errno = code;
        return -1;
    }
    const ssize_t written = real(fd, bytes, size);
    if (written >= 0 && ::ftruncate(fd, written) != 0) return -1;
    return written;
}
