#include "files/config_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "common/syscalls.h"
#include "service/settings_rules.h"

namespace torvel::daemon {
ConfigStore::Loaded ConfigStore::load() const {
    int error = 0;
    const auto bytes = readFileNoFollow(file_, error, maxFileBytes);
    if (!bytes) {
        if (error == ENOENT) return {};
        // A link, a FIFO or a device, or a file far larger than any settings: set aside like a damaged one.
        if (error != ELOOP && error != EFBIG && error != EINVAL)
            return {Settings{},
                    systemError("read", file_.filename().string(), error) + "; using the defaults"};
    }
    const SettingsUpdate update = bytes ? SettingsUpdate::read(*bytes) : SettingsUpdate::read("");
    const Settings settings = update.appliedTo(Settings{});
    if (!update.refusal()) return {settings, std::nullopt};
    const bool partly = !update.unreadable();
    auto kept = keepAside(file_);
    if (!kept) {
        return {settings, systemError("set aside", file_.filename().string(), errno) +
                              (partly ? "; using its valid settings" : "; using the defaults")};
    }
    std::string note =
        file_.filename().string() + " could not be used " + (partly ? "whole " : "") + "and was kept as " +
        kept->filename().string() +
        (partly ? "; using its valid settings (" + *update.refusal() + ")" : "; using the defaults");
    // The app reads config.json too: it must find the settings in force, not fall back to its defaults.
    if (settings != Settings{}) {
        if (auto failure = save(settings)) note += "; " + *failure;
    }
    return {settings, note};
}

FileError ConfigStore::save(const Settings& settings) const {
    return replaceFile(file_, settingsMessage(settings), 0644);
}

}  // namespace torvel::daemon
