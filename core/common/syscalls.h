#pragma once

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace torvel {

// Owns one descriptor and closes it exactly once, on every return path.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) noexcept : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    int get() const noexcept { return fd_; }
    bool valid() const noexcept { return fd_ >= 0; }
    // Hands the descriptor over without closing it.
    int release() noexcept { return std::exchange(fd_, -1); }
    // Closes the current descriptor (its close error is not actionable: the descriptor is gone either way).
    void reset(int fd = -1) noexcept;

  private:
    int fd_ = -1;
};

// Calls `call` again for as long as it fails with EINTR, so a signal arriving mid-call is never mistaken for
// a failure. Returns the last result, with errno as that call left it.
template <typename Call>
auto retryOnInterrupt(Call&& call) {
    for (;;) {
        const auto result = call();
        if (!(result == -1 && errno == EINTR)) return result;
    }
}

// Writes all of `bytes`, resuming after short writes and interruptions; false with errno set on failure.
bool writeAll(int fd, std::string_view bytes);

// "cannot <operation> <object>: <what the error number means>"; without an object, "cannot <operation>: …".
std::string systemError(std::string_view operation, std::string_view object, int error);

}  // namespace torvel
