#include "common/syscalls.h"

#include <unistd.h>

#include <cstring>

namespace torvel {

void FileDescriptor::reset(int fd) noexcept {
    // close is not retried on EINTR: Linux releases the descriptor before it can be interrupted, and a
    // second close could hit a descriptor another thread has just been given.
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = retryOnInterrupt([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string systemError(std::string_view operation, std::string_view object, int error) {
    std::string text = "cannot ";
    text += operation;
    if (!object.empty()) {
        text += ' ';
        text += object;
    }
    text += ": ";
    text += std::strerror(error);
    return text;
}

}  // namespace torvel
