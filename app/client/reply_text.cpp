#include "reply_text.h"

#include <QDBusMessage>
#include <QMetaType>
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

std::optional<std::string> replyResult(const QDBusMessage& reply, std::string_view failureText) {
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return errorText(reply.errorName().toStdString(), reply.errorMessage().toStdString());
    }
    const QList<QVariant> arguments = reply.arguments();
    if (reply.type() != QDBusMessage::ReplyMessage || arguments.size() != 2 ||
        arguments[0].metaType().id() != QMetaType::Bool ||
        arguments[1].metaType().id() != QMetaType::QString) {
        return std::string(texts::unreachable);
    }
    if (arguments[0].toBool()) return std::nullopt;
    const QString message = arguments[1].toString().trimmed();
    if (message.isEmpty()) return std::string(failureText);
    return message.toStdString();
}

}  // namespace torvel::client
