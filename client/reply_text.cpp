#include "reply_text.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>

namespace torvel::client {
namespace {

constexpr std::array unreachableErrors = {
    std::string_view{"org.freedesktop.DBus.Error.ServiceUnknown"},
    std::string_view{"org.freedesktop.DBus.Error.NameHasNoOwner"},
    std::string_view{"org.freedesktop.DBus.Error.Disconnected"},
    std::string_view{"org.freedesktop.DBus.Error.NoServer"},
    std::string_view{"org.freedesktop.DBus.Error.NoNetwork"},
    std::string_view{"org.freedesktop.DBus.Error.FileNotFound"},
    std::string_view{"org.freedesktop.DBus.Error.UnknownObject"},
    std::string_view{"org.freedesktop.DBus.Error.UnknownInterface"},
    std::string_view{"org.freedesktop.DBus.Error.UnknownMethod"},
};

constexpr std::array silentErrors = {
    std::string_view{"org.freedesktop.DBus.Error.NoReply"},
    std::string_view{"org.freedesktop.DBus.Error.Timeout"},
    std::string_view{"org.freedesktop.DBus.Error.TimedOut"},
};

// Bus activation that fails (the unit is missing, masked or crashes at start) leaves nobody to talk to.
constexpr std::array unreachablePrefixes = {
    std::string_view{"org.freedesktop.DBus.Error.Spawn."},
    std::string_view{"org.freedesktop.systemd1."},
};

template <std::size_t N>
bool listed(const std::array<std::string_view, N>& names, std::string_view name) {
    for (const auto candidate : names) {
        if (candidate == name) return true;
    }
    return false;
}

std::string trimmed(std::string_view text) {
    const auto blank = " \t\r\n\v\f";
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(blank)));
    return std::string(text.substr(0, text.find_last_not_of(blank) + 1));
}

}  // namespace

std::string errorText(std::string_view errorName, std::string_view errorMessage) {
    if (listed(silentErrors, errorName)) return std::string(texts::stoppedResponding);
    if (listed(unreachableErrors, errorName)) return std::string(texts::unreachable);
    for (const auto prefix : unreachablePrefixes) {
        if (errorName.starts_with(prefix)) return std::string(texts::unreachable);
    }
    if (errorMessage.empty()) return std::string(texts::unreachable);
    return std::string(errorMessage);
}

std::optional<std::string> replyResult(sd_bus_message* reply, std::string_view failureText) {
    if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
        return errorText(error->name != nullptr ? error->name : "",
                         error->message != nullptr ? error->message : "");
    }
    int ok = 0;
    const char* message = nullptr;
    if (!sd_bus_message_has_signature(reply, "bs") || sd_bus_message_read(reply, "bs", &ok, &message) < 0) {
        return std::string(texts::unreachable);
    }
    if (ok) return std::nullopt;
    const std::string text = trimmed(message);
    if (text.empty()) return std::string(failureText);
    return text;
}

std::optional<std::string> replyMessage(sd_bus_message* reply) {
    int ok = 0;
    const char* message = nullptr;
    if (sd_bus_message_get_error(reply) != nullptr || !sd_bus_message_has_signature(reply, "bs") ||
        sd_bus_message_rewind(reply, 1) < 0 || sd_bus_message_read(reply, "bs", &ok, &message) < 0) {
        return std::nullopt;
    }
    std::string text = trimmed(message);
    if (text.empty()) return std::nullopt;
    return text;
}

}  // namespace torvel::client
