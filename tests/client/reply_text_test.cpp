#include "reply_text.h"

#include <gtest/gtest.h>

#include <QDBusMessage>

namespace torvel::client {
namespace {

TEST(ErrorText, SaysWhetherTheServiceIsMissingSilentOrSpoke) {
    struct Case {
        const char* name;
        const char* message;
        std::string_view expected;
    };
    const Case cases[] = {
        {"org.freedesktop.DBus.Error.ServiceUnknown", "The name was not provided", texts::unreachable},
        {"org.freedesktop.DBus.Error.NameHasNoOwner", "", texts::unreachable},
        {"org.freedesktop.DBus.Error.Disconnected", "Not connected to D-Bus server", texts::unreachable},
        {"org.freedesktop.DBus.Error.NoServer", "", texts::unreachable},
        {"org.freedesktop.DBus.Error.UnknownMethod", "No such method", texts::unreachable},
        {"org.freedesktop.DBus.Error.UnknownObject", "", texts::unreachable},
        {"org.freedesktop.DBus.Error.Spawn.ChildExited", "exited with 1", texts::unreachable},
        {"org.freedesktop.systemd1.NoSuchUnit", "Unit not found", texts::unreachable},
        {"org.freedesktop.DBus.Error.NoReply", "recipient disconnected", texts::stoppedResponding},
        {"org.freedesktop.DBus.Error.Timeout", "", texts::stoppedResponding},
        {"org.freedesktop.DBus.Error.TimedOut", "", texts::stoppedResponding},
        {"org.freedesktop.DBus.Error.AccessDenied", "You may not change the limit.",
         "You may not change the limit."},
        {"com.torvel.Daemon1.Error.Busy", "A calibration is running.", "A calibration is running."},
        {"com.torvel.Daemon1.Error.Busy", "", texts::unreachable},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(errorText(c.name, c.message), c.expected) << c.name << " / " << c.message;
    }
}

TEST(ReplyResult, ReadsTheServicesAnswer) {
    const QDBusMessage call = QDBusMessage::createMethodCall("com.torvel.Daemon", "/com/torvel/Daemon",
                                                             "com.torvel.Daemon1", "Restart");
    struct Case {
        const char* name;
        QDBusMessage reply;
        std::optional<std::string_view> expected;
    };
    const Case cases[] = {
        {"success", call.createReply(QList<QVariant>{true, QString()}), std::nullopt},
        {"success ignores a message", call.createReply(QList<QVariant>{true, QString("fine")}), std::nullopt},
        {"failure without message", call.createReply(QList<QVariant>{false, QString()}), "Fallback."},
        {"failure with blank message", call.createReply(QList<QVariant>{false, QString(" \n")}), "Fallback."},
        {"failure with message", call.createReply(QList<QVariant>{false, QString("Nope.")}), "Nope."},
        {"message keeps its own characters", call.createReply(QList<QVariant>{false, QString("isn’t")}),
         "isn’t"},
        {"missing message", call.createReply(QList<QVariant>{false}), texts::unreachable},
        {"swapped arguments", call.createReply(QList<QVariant>{QString("x"), true}), texts::unreachable},
        {"error reply", call.createErrorReply("org.freedesktop.DBus.Error.NoReply", "gone"),
         texts::stoppedResponding},
    };
    for (const auto& c : cases) {
        const auto result = replyResult(c.reply, "Fallback.");
        if (c.expected) {
            EXPECT_EQ(result, std::string(*c.expected)) << c.name;
        } else {
            EXPECT_EQ(result, std::nullopt) << c.name;
        }
    }
}

}  // namespace
}  // namespace torvel::client
