#include "files/status_publisher.h"

#include <unistd.h>

#include <cerrno>

#include "common/syscalls.h"

namespace torvel::daemon {
namespace {

// The counter grows on every tick while the limit holds; on its own it is not news worth a write.
PublishedStatus comparable(PublishedStatus status) {
    status.ts.reset();
    status.protectedSeconds = 0;
    return status;
}

}  // namespace

std::variant<bool, std::string> StatusPublisher::publish(PublishedStatus status, Instant now) {
    status.ts = now;
    const bool changed = !last_ || comparable(*last_) != comparable(status);
    if (!changed && now - lastWrite_ < refreshEvery && now >= lastWrite_) return false;
    // Rewritten every fifteen seconds and again at start: a copy lost to a power cut costs nothing, while two
    // fsyncs a beat would cost an idle laptop its disk's sleep.
    if (auto error = replaceFile(file_, status.fileText(), 0644, false)) return *error;
    last_ = status;
    lastWrite_ = now;
    return true;
}

FileError StatusPublisher::remove() {
    last_.reset();
    if (::unlink(file_.c_str()) != 0 && errno != ENOENT)
        return systemError("delete", file_.filename().string(), errno);
    return std::nullopt;
}

}  // namespace torvel::daemon
