#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "common/dates.h"

namespace torvel::daemon {

// daemon.log: short timestamped lines, capped in size with one older generation (daemon.log.1).
class ServiceLog {
  public:
    static constexpr std::uintmax_t defaultCap = 256 * 1024;

    explicit ServiceLog(std::filesystem::path file, std::uintmax_t cap = defaultCap)
        : file_(std::move(file)), cap_(cap) {}

    // Never fails loudly: a log that cannot be written must not stop the service from holding the limit.
    void write(Instant now, std::string_view text);
    const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
    std::uintmax_t cap_;
};

}  // namespace torvel::daemon
