#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "files/atomic_file.h"
#include "service/settings.h"

namespace torvel::daemon {

// A settings message that passed validation: the settings it leaves in force and its one extra request.
struct AcceptedSettings {
    Settings settings;
    bool resetProtected = false;
};

// Checks a settings message (or a config file): a JSON object whose known keys have the right types and
// sane ranges. Keys it leaves out keep their value in `current`; unknown keys are ignored. A refusal is
// one sentence naming the bad key.
std::variant<AcceptedSettings, std::string> validateSettings(std::string_view message,
                                                             const Settings& current);

// Whether an accepted message would turn the limit off, shorten the journal's retention or reset the
// protected-time counter: changes a session may not make on its own. A message that will be refused is not.
bool isProtectedChange(std::string_view message, const Settings& current);

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
