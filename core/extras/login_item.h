#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/paths.h"

namespace torvel {

// Launch at login. On Linux the registration is the XDG autostart entry; the status keeps the four values
// the service-management facility reports elsewhere, so the checkup reads the same on every platform.
struct LoginItem {
    enum class Status { notRegistered, enabled, requiresApproval, notFound };

    Status status = Status::notRegistered;
    std::optional<std::string> error;

    // After an attempt to switch it on or off: the status is always what the system reports afterwards, and
    // a success clears an earlier failure.
    void changed(Status readBack, std::optional<std::string> failure) {
        status = readBack;
        error = std::move(failure);
    }

    // The autostart entry's text, or absent when there is none. Desktops honour "Hidden=true" and
    // "X-GNOME-Autostart-enabled=false" as a switched-off entry, so those count as not registered.
    // Why startup could not be changed when there is no home folder to write the entry in.
    static std::string noHomeFolder();
    // Writing (turning on) or removing (turning off) the autostart entry failed, with the system's reason.
    static std::string fileFailed(bool writing, std::string_view file, std::string_view reason);
    static Status fromAutostartEntry(std::optional<std::string_view> desktopEntry);

    // The entry that starts `executable` at login: the tray only, no window (the switch is the app's
    // default).
    static std::string autostartEntry(std::string_view executable);

    // $XDG_CONFIG_HOME/autostart/com.torvel.Torvel.desktop (named after the app id), with ~/.config
    // standing in for an unset XDG_CONFIG_HOME.
    static std::optional<std::filesystem::path> autostartFile(const Paths::Environment& env);
};

std::string_view name(LoginItem::Status status);

// $XDG_CONFIG_HOME (or ~/.config) where the user's own settings live; absent without either variable.
std::optional<std::filesystem::path> userConfigDirectory(const Paths::Environment& env);

}  // namespace torvel
