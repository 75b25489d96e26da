#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "files/atomic_file.h"
#include "service/settings.h"

namespace torvel::daemon {

// config.json: read once at start, replaced atomically after every accepted message.
class ConfigStore {
  public:
    explicit ConfigStore(std::filesystem::path file) : file_(std::move(file)) {}

    struct Loaded {
        Settings settings;
        // What the log should say about it (a file kept aside, an unreadable one); absent when all is well.
        std::optional<std::string> note;
    };
    static constexpr std::size_t maxFileBytes = 1024 * 1024;

    // A damaged file is renamed to config.json.bad (or .bad-2, .bad-3…, never over an older one) and its
    // valid keys are used over the defaults and stored back: what the user wrote is kept for them to look
    // at, never overwritten by the next save.
    Loaded load() const;
    FileError save(const Settings& settings) const;
    const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
};

}  // namespace torvel::daemon
