#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "commands.h"
#include "common/json.h"
#include "run_torvelctl.h"

namespace torvel::cli {
namespace {

using testing::Outcome;
using testing::torvelctl;

class StatusCommand : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("TORVEL_ROOT", TORVEL_SOURCE_DIR "/samples/datadir", 1); }
    void TearDown() override { ::unsetenv("TORVEL_ROOT"); }
};

TEST_F(StatusCommand, JsonDescribesTheSampleAsALiveService) {
    const Outcome result =
        torvelctl({"status", "--json", "--now", "1763900020", "--service-installed", "yes"});
    ASSERT_EQ(result.status, exitOk) << result.err;
    const auto status = json::parseObject(result.out);
    ASSERT_TRUE(status);
    EXPECT_EQ((*status)["serviceState"], "running");
    EXPECT_EQ((*status)["panel"]["text"], "Held at 80%");
    EXPECT_EQ((*status)["panel"]["tone"], "held");
    EXPECT_EQ((*status)["settings"]["limit"], 80);
    EXPECT_EQ((*status)["target"], 80);
    EXPECT_TRUE((*status)["nativeFloor"].is_null());
    // The status file's values under the file's own keys.
    EXPECT_EQ((*status)["state"], "hold");
    EXPECT_EQ((*status)["pct"], 80);
    EXPECT_EQ((*status)["startedAt"], 1763791200);
    EXPECT_EQ((*status)["cal"]["runs"].size(), 2u);
    EXPECT_TRUE((*status)["cal"]["trend"].is_string());
}

TEST_F(StatusCommand, WordsTheSettingsAsTheSettingsPageDoes) {
    const Outcome json = torvelctl({"status", "--json", "--now", "1763900020", "--service-installed", "yes"});
    ASSERT_EQ(json.status, exitOk) << json.err;
    const auto status = json::parseObject(json.out);
    ASSERT_TRUE(status);
    const auto& page = (*status)["settingsPage"];
    EXPECT_EQ(page["profile"]["label"], "80%");
    EXPECT_EQ(page["profile"]["help"], "Set by hand · You need the range when you leave");
    EXPECT_EQ(page["restingRange"]["label"], "below 75%");
    EXPECT_EQ(page["overheating"]["help"], "Balanced");
    EXPECT_EQ(page["endOfTopUp"]["label"], "When you unplug");
    EXPECT_EQ(page["historyKeptFor"]["label"], "1 year");
    EXPECT_EQ(page["blinkSeconds"], 2.0);

    const Outcome text = torvelctl({"status", "--now", "1763900020", "--service-installed", "yes"});
    ASSERT_EQ(text.status, exitOk) << text.err;
    for (const char* line : {"Resting range: below 75% · After a small drop", "Overheating: 40 °C · Balanced",
                             "End of top-up: When you unplug · As soon as you leave with the Mac"}) {
        EXPECT_NE(text.out.find(line), std::string::npos) << line << "\n" << text.out;
    }
}

TEST_F(StatusCommand, OptionsReplayASituation) {
    struct Case {
        std::vector<std::string> options;
        const char* serviceState;
        const char* panel;
    };
    const Case cases[] = {
        {{"--now", "1763900100"}, "stale", "Service stopped"},
        {{"--now", "1763900020", "--service-installed", "no"}, "notInstalled", "Service to install"},
        {{"--now", "1763900020", "--charge", "86"}, "running", "Above 80%"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"status", "--json", "--service-installed", "yes"};
        if (std::find(c.options.begin(), c.options.end(), "--service-installed") != c.options.end())
            args.resize(2);
        args.insert(args.end(), c.options.begin(), c.options.end());
        const Outcome result = torvelctl(args);
        ASSERT_EQ(result.status, exitOk) << result.err;
        const auto status = json::parseObject(result.out);
        ASSERT_TRUE(status);
        EXPECT_EQ((*status)["serviceState"], c.serviceState) << c.panel;
        EXPECT_EQ((*status)["panel"]["text"], c.panel);
    }
}

TEST_F(StatusCommand, BadArgumentsNameThemselves) {
    struct Case {
        std::vector<std::string> args;
        const char* mentions;
    };
    const Case cases[] = {
        {{"status", "--now", "soon"}, "--now"},
        {{"status", "--charge", "140", "--service-installed", "yes"}, "--charge"},
        {{"status", "--service-installed", "maybe"}, "--service-installed"},
        {{"status", "--plugged", "--unplugged", "--service-installed", "yes"}, "--unplugged"},
        {{"status", "--colour"}, "--colour"},
        {{"status", "--now"}, "--now"},
        {{"stauts"}, "stauts"},
    };
    for (const auto& c : cases) {
        const Outcome result = torvelctl(c.args);
        EXPECT_EQ(result.status, exitUsage) << c.mentions;
        EXPECT_NE(result.err.find(c.mentions), std::string::npos) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
}

TEST_F(StatusCommand, MissingFilesFallBackQuietly) {
    ::setenv("TORVEL_ROOT", "/nonexistent/torvel", 1);
    const Outcome result = torvelctl({"status", "--json", "--service-installed", "yes"});
    ASSERT_EQ(result.status, exitOk) << result.err;
    const auto status = json::parseObject(result.out);
    ASSERT_TRUE(status);
    EXPECT_EQ((*status)["state"], "unknown");
    EXPECT_EQ((*status)["serviceState"], "unknown");
    EXPECT_EQ((*status)["settings"]["limit"], 80);
}

}  // namespace
}  // namespace torvel::cli
