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

}  // namespace
}  // namespace torvel
