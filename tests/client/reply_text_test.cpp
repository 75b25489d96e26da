#include "reply_text.h"

#include <gtest/gtest.h>

#include <QDBusMessage>

namespace torvel::client {
namespace {

TEST(ErrorText, SaysWhetherTheServiceIsMissingSilentOrSpoke) {
    const std::string bus = "org.freedesktop.DBus.Error.";
    const struct {
        std::vector<std::string> names;
        const char* message;
        std::string_view expected;
    } cases[] = {
        // Whatever the bus adds, a missing peer (or one bus activation could not start) is unreachable.
        {{bus + "ServiceUnknown", bus + "NameHasNoOwner", bus + "Disconnected", bus + "NoServer",
          bus + "UnknownMethod", bus + "UnknownObject", bus + "Spawn.ChildExited",
          "org.freedesktop.systemd1.NoSuchUnit"},
         "The bus explains.",
         texts::unreachable},
        {{bus + "NoReply", bus + "Timeout", bus + "TimedOut"}, "The bus explains.", texts::stoppedResponding},
        {{bus + "AccessDenied", "com.torvel.Daemon1.Error.Busy"}, "You may not.", "You may not."},
        {{"com.torvel.Daemon1.Error.Busy"}, "", texts::unreachable},
    };
    for (const auto& c : cases) {
        for (const auto& name : c.names) EXPECT_EQ(errorText(name, c.message), c.expected) << name;
    }
}

TEST(ReplyResult, ReadsTheServicesAnswer) {
    const QDBusMessage call = QDBusMessage::createMethodCall("com.torvel.Daemon", "/com/torvel/Daemon",
                                                             "com.torvel.Daemon1", "Restart");
    const struct {
        const char* name;
        QDBusMessage reply;
        std::optional<std::string_view> expected;
    } cases[] = {
        {"success", call.createReply(QList<QVariant>{true, QString()}), std::nullopt},
        {"success ignores a message", call.createReply(QList<QVariant>{true, QString("fine")}), std::nullopt},
        {"failure without message", call.createReply(QList<QVariant>{false, QString()}), "Fallback."},
        {"failure with blank message", call.createReply(QList<QVariant>{false, QString(" \n")}), "Fallback."},
        {"message keeps its own characters", call.createReply(QList<QVariant>{false, QString("isn’t")}),
         "isn’t"},
        {"missing message", call.createReply(QList<QVariant>{false}), texts::unreachable},
        {"swapped arguments", call.createReply(QList<QVariant>{QString("x"), true}), texts::unreachable},
        {"error reply", call.createErrorReply("org.freedesktop.DBus.Error.NoReply", "gone"),
         texts::stoppedResponding},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(replyResult(c.reply, "Fallback."), std::optional<std::string>(c.expected)) << c.name;
    }
}

}  // namespace
}  // namespace torvel::client
