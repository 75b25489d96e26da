#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "commands.h"
#include "common/json.h"
#include "run_torvelctl.h"

namespace torvel::cli {
namespace {

namespace fs = std::filesystem;

using testing::Outcome;
using testing::torvelctl;

void write(const fs::path& path, std::string_view text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

constexpr const char* sampleNow = "1763900020";

// The sample data directory of a service holding 80%, and a user configuration of our own.
class CheckupCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        config = fs::temp_directory_path() / ("torvel-checkup-" + std::to_string(::getpid()));
        fs::remove_all(config);
        ::setenv("TORVEL_ROOT", TORVEL_SOURCE_DIR "/samples/datadir", 1);
        ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("TORVEL_ROOT");
        ::unsetenv("XDG_CONFIG_HOME");
        fs::remove_all(config);
    }

    json::Value checkupJson(const std::string& installed) {
        const Outcome result =
            torvelctl({"checkup", "--json", "--now", sampleNow, "--service-installed", installed});
        EXPECT_EQ(result.status, exitOk) << result.err;
        return json::parseObject(result.out).value_or(json::Value());
    }

    fs::path config;
};

TEST_F(CheckupCommand, UserFilesDecideLoginAndUpdates) {
    struct Case {
        const char* what;
        const char* autostart;  // null: no entry
        const char* updates;
        const char* installed;
        const char* summary;
        const char* login;
        const char* updatesWord;
        json::Value fix;
    };
    const Case cases[] = {
        {"started at login, checking", "[Desktop Entry]\nExec=torvel\n", "[updates]\nautomatic=true\n", "yes",
         "All set", "On", "Up to date", nullptr},
        {"no entry, no settings file", nullptr, nullptr, "yes", "All set", "Off", "Off", nullptr},
        {"a hidden entry", "[Desktop Entry]\nHidden=true\n", "[updates]\nautomatic=false\n", "yes", "All set",
         "Off", "Off", nullptr},
        {"a critical update",
         nullptr,
         "[updates]\nautomatic=true\ncritical=true\n",
         "yes",
         "One thing to do",
         "Off",
         "Available",
         {{"title", "Update Torvel"}}},
        {"no service, an update",
         nullptr,
         "[updates]\navailable=0.2\n",
         "no",
         "Two things to do",
         "Off",
         "Available",
         {{"title", "Install the service"}}},
    };
    for (const auto& c : cases) {
        fs::remove_all(config);
        if (c.autostart) write(config / "autostart" / "com.torvel.Torvel.desktop", c.autostart);
        if (c.updates) write(config / "Torvel" / "Torvel.conf", c.updates);
        const json::Value checkup = checkupJson(c.installed);
        ASSERT_TRUE(checkup.is_object()) << c.what;
        EXPECT_EQ(checkup["summary"], c.summary) << c.what;
        EXPECT_EQ(checkup["readings"][3]["word"], c.login) << c.what;
        EXPECT_EQ(checkup["readings"][6]["word"], c.updatesWord) << c.what;
        EXPECT_EQ(checkup["fix"], c.fix) << c.what;
        // The page's own button is the service's fix, which an update does not have.
        EXPECT_EQ(checkup["page"]["fix"], c.installed == std::string("no")
                                              ? json::Value("Install the service")
                                              : json::Value(nullptr))
            << c.what;
    }
}

TEST_F(CheckupCommand, TextNamesEachPieceAndTheFix) {
    write(config / "Torvel" / "Torvel.conf", "[updates]\nautomatic=true\navailable=0.2\n");
    const Outcome result = torvelctl({"checkup", "--now", sampleNow, "--service-installed", "yes"});
    ASSERT_EQ(result.status, exitOk) << result.err;
    EXPECT_TRUE(
        result.out.starts_with("Almost. One thing to do.\nA new version of Torvel is ready.\n\n"
                               "One thing to do\n"))
        << result.out;
    // Each column as wide as its longest entry: "Charge service" and "to do".
    EXPECT_NE(result.out.find("  Charge service ok    Running\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("  Updates        to do Available\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\nFix: Update Torvel\n"), std::string::npos) << result.out;
}

TEST(CheckupAndReportArguments, ABadArgumentIsOneLineNamingIt) {
    struct Case {
        std::vector<std::string> args;
        const char* message;
    };
    const Case cases[] = {
        {{"checkup", "--service-installed", "maybe"},
         "torvelctl checkup: bad value for --service-installed: 'maybe' (expected yes or no)\n"},
        {{"checkup", "--verbose"}, "torvelctl checkup: unknown option --verbose\n"},
        {{"report", "--json"}, "torvelctl report: unknown option --json\n"},
        {{"report", "--now", "soon"},
         "torvelctl report: bad value for --now: 'soon' (expected seconds since 1970)\n"},
    };
    for (const auto& c : cases) {
        const Outcome result = torvelctl(c.args);
        EXPECT_EQ(result.status, exitUsage);
        EXPECT_EQ(result.err, c.message);
        EXPECT_EQ(result.out, "");
    }
}

// A copied machine: the data directory and the system's own description files under one root.
class ReportCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        root = fs::temp_directory_path() / ("torvel-report-" + std::to_string(::getpid()));
        fs::remove_all(root);
        write(root / "etc/os-release", "NAME=Debian\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
        write(root / "sys/class/dmi/id/product_name", "20XW0055GE\n");
        write(root / "sys/class/dmi/id/product_version", "ThinkPad X1 Carbon Gen 9\n");
        write(root / "var/lib/torvel/config.json", "\n{\"limit\": 75}\n\n");
        write(root / "var/lib/torvel/history/2025-03-06.jsonl", std::string(1500, 'x'));
        write(root / "var/lib/torvel/history/2025-03-07.jsonl", std::string(600, 'x'));
        write(root / "var/log/torvel/daemon.log", "started\n\nholding 75%\n");
        ::setenv("TORVEL_ROOT", root.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("TORVEL_ROOT");
        fs::remove_all(root);
    }
    fs::path root;
};

TEST_F(ReportCommand, TheReportAsTheAppCopiesIt) {
    const Outcome result = torvelctl({"report", "--now", sampleNow, "--service-installed", "no"});
    ASSERT_EQ(result.status, exitOk) << result.err;
    const std::string firstLine = result.out.substr(0, result.out.find('\n'));
    EXPECT_EQ(firstLine, "Torvel " TORVEL_VERSION " (" TORVEL_VERSION ") · ad-hoc signature, local build");
    EXPECT_EQ(result.out.substr(firstLine.size() + 1),
              "Debian GNU/Linux 12 (bookworm) · 20XW0055GE ThinkPad X1 Carbon Gen 9\n"
              "Service installed: no\n"
              "Charge mechanism: unknown\n"
              "Limit verified: not checked yet\n"
              "Published state: unknown\n"
              "MagSafe light: supported\n"
              "Forced discharge: supported\n"
              "History: 2 days, 2 kB\n"
              "\n"
              "config.json\n"
              "{\"limit\": 75}\n"
              "\n"
              "status.json\n"
              "(no file)\n"
              "\n"
              "daemon.log (last 50 lines)\n"
              "started\n"
              "holding 75%\n");
}

}  // namespace
}  // namespace torvel::cli
