#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "common/dates.h"
#include "files/atomic_file.h"
#include "service/published_status.h"

namespace torvel::daemon {

// status.json: rewritten atomically when what it says changes, and often enough that the app never takes
// a running service for a stopped one (the app calls a file older than 60 s stale).
class StatusPublisher {
  public:
    static constexpr double refreshEvery = 15;

    explicit StatusPublisher(std::filesystem::path file) : file_(std::move(file)) {}

    // Returns whether the file was written, or the failure. `status.ts` is set to `now`.
    std::variant<bool, std::string> publish(PublishedStatus status, Instant now);
    FileError remove();
    const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
    std::optional<PublishedStatus> last_;
    Instant lastWrite_ = 0;
};

}  // namespace torvel::daemon
