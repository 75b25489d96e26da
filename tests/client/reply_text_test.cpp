#include "reply_text.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace torvel::client
