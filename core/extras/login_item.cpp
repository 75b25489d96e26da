#include "extras/login_item.h"

#include "extras/ini.h"

namespace torvel {

LoginItem::Status LoginItem::fromAutostartEntry(std::optional<std::string_view> desktopEntry) {
    if (!desktopEntry) return Status::notRegistered;
    const IniFile entry = IniFile::parse(*desktopEntry);
    constexpr std::string_view group = "Desktop Entry";
    if (entry.boolean(group, "Hidden") == true) return Status::notRegistered;
    if (entry.boolean(group, "X-GNOME-Autostart-enabled") == false) return Status::notRegistered;
    return Status::enabled;
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
    return *config / "autostart" / "torvel.desktop";
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
