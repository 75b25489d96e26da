#include <gtest/gtest.h>

#include "install_commands.h"
#include "run_torvelctl.h"

namespace torvel::cli {
namespace {

using Words = std::vector<std::string>;

TEST(InstallCommands, TheHelperRunsWithTheRightsThePersonCanGive) {
    const struct {
        bool root;
        bool hasSudo;
        Words arguments;
        Words expected;
    } cases[] = {
        {true, true, {"--keep-data"}, {"/t/uninstall-service", "--keep-data"}},
        {false, true, {"/t/torvel-daemon"}, {"sudo", "/t/uninstall-service", "/t/torvel-daemon"}},
        {false, false, {}, {"pkexec", "/t/uninstall-service"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(elevatedCommand(c.root, c.hasSudo, "/t/uninstall-service", c.arguments), c.expected);
    }
}

TEST(InstallCommands, OnlyKeepDataIsUnderstood) {
    const Words lines[] = {{"install", "--now"}, {"uninstall", "--keep"}, {"uninstall", "--keep-data", "x"}};
    for (const auto& line : lines) {
        const auto outcome = testing::torvelctl(line);
        EXPECT_EQ(outcome.status, exitUsage) << line[1];
        EXPECT_TRUE(outcome.err.starts_with("usage: torvelctl " + line[0])) << outcome.err;
    }
}

}  // namespace
}  // namespace torvel::cli
