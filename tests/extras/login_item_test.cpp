#include "extras/login_item.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

TEST(LoginItem, StatusFromTheAutostartEntry) {
    using Status = LoginItem::Status;
    struct Case {
        std::optional<std::string_view> entry;
        Status status;
    };
    const Case cases[] = {
        {std::nullopt, Status::notRegistered},
        {"[Desktop Entry]\nType=Application\nExec=torvel\n", Status::enabled},
        {"[Desktop Entry]\nExec=torvel\nHidden=true\n", Status::notRegistered},
        {"[Desktop Entry]\nHidden=false\nX-GNOME-Autostart-enabled=false\n", Status::notRegistered},
        {"[Desktop Entry]\nX-GNOME-Autostart-enabled=true\n", Status::enabled},
        // A Hidden key in another group is not the entry's.
        {"[Desktop Action quit]\nHidden=true\n[Desktop Entry]\nExec=torvel\n", Status::enabled},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LoginItem::fromAutostartEntry(c.entry), c.status) << c.entry.value_or("-");
}

TEST(LoginItem, TheEntryItWritesReadsBackAsEnabledAndQuotesAnAwkwardPath) {
    const std::pair<const char*, const char*> cases[] = {
        {"/usr/bin/torvel", "Exec=/usr/bin/torvel\n"},
        {"/home/a b/torvel", "Exec=\"/home/a b/torvel\"\n"},
        {"/opt/$x/tor\"vel", "Exec=\"/opt/\\$x/tor\\\"vel\"\n"},
    };
    for (const auto& [executable, exec] : cases) {
        const std::string entry = LoginItem::autostartEntry(executable);
        EXPECT_NE(entry.find(exec), std::string::npos) << entry;
        EXPECT_NE(entry.find("\nTryExec=" + std::string(executable) + "\n"), std::string::npos) << entry;
        EXPECT_EQ(LoginItem::fromAutostartEntry(entry), LoginItem::Status::enabled);
    }
}

TEST(LoginItem, TheFileHonoursXdgConfigHome) {
    const auto env = [](std::optional<std::string> config, std::optional<std::string> home) {
        return [=](const char* name) { return std::string_view(name) == "HOME" ? home : config; };
    };
    EXPECT_EQ(LoginItem::autostartFile(env("/x/cfg", "/home/u")),
              "/x/cfg/autostart/com.torvel.Torvel.desktop");
    EXPECT_EQ(LoginItem::autostartFile(env("relative", "/home/u")),
              "/home/u/.config/autostart/com.torvel.Torvel.desktop");
    EXPECT_EQ(LoginItem::autostartFile(env(std::nullopt, std::nullopt)), std::nullopt);
}

}  // namespace
}  // namespace torvel
