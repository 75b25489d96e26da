#include "extras/login_item.h"

#include "common/texts.h"
#include "extras/ini.h"

namespace torvel {

std::string LoginItem::noHomeFolder() {
    return tr("Torvel can’t find your home folder to add itself to startup.");
}

std::string LoginItem::fileFailed(bool writing, std::string_view file, std::string_view reason) {
    return writing ? tr("Couldn’t write %1: %2", {file, reason})
                   : tr("Couldn’t remove %1: %2", {file, reason});
}

LoginItem::Status LoginItem::fromAutostartEntry(std::optional<std::string_view> desktopEntry) {
    if (!desktopEntry) return Status::notRegistered;
    const IniFile entry = IniFile::parse(*desktopEntry);
    constexpr std::string_view group = "Desktop Entry";
    if (entry.boolean(group, "Hidden") == true) return Status::notRegistered;
    if (entry.boolean(group, "X-GNOME-Autostart-enabled") == false) return Status::notRegistered;
    return Status::enabled;
}

std::string LoginItem::autostartEntry(std::string_view executable) {
    // The Exec key's quoting rules: a path with a space or a quote goes inside double quotes, with `"`, `\`,
    // `$` and `` ` `` escaped by a backslash.
    std::string exec;
    const bool quote = executable.find_first_of(" \t\"'\\$`") != std::string_view::npos;
    if (quote) exec += '"';
    for (const char c : executable) {
        if (quote && (c == '"' || c == '\\' || c == '$' || c == '`')) exec += '\\';
        exec += c;
    }
    if (quote) exec += '"';
    // TryExec: once the program is removed, the desktop skips the entry instead of failing at every login.
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Torvel\n"
           "Comment=Keeps the battery inside the charge range you choose\n"
           "TryExec=" +
           std::string(executable) +
           "\n"
           "Exec=" +
           exec +
           "\n"
           "Icon=com.torvel.Torvel\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::optional<std::filesystem::path> userConfigDirectory(const Paths::Environment& env) {
    // The XDG rules ignore a relative XDG_CONFIG_HOME.
    if (auto config = env("XDG_CONFIG_HOME"); config && config->starts_with('/')) return *config;
    if (auto home = env("HOME")) return std::filesystem::path(*home) / ".config";
    return std::nullopt;
}

std::optional<std::filesystem::path> LoginItem::autostartFile(const Paths::Environment& env) {
    const auto config = userConfigDirectory(env);
    if (!config) return std::nullopt;
    return *config / "autostart" / "com.torvel.Torvel.desktop";
}

std::string_view name(LoginItem::Status status) {
    switch (status) {
        case LoginItem::Status::notRegistered:
            return "notRegistered";
        case LoginItem::Status::enabled:
            return "enabled";
        case LoginItem::Status::requiresApproval:
            return "requiresApproval";
        case LoginItem::Status::notFound:
            return "notFound";
    }
    return {};
}

}  // namespace torvel
