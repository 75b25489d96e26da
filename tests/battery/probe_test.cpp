#include "battery/probe.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

namespace torvel {
namespace {

namespace fs = std::filesystem;

using Result = HardwareProbe::Result;
using Supported = HardwareProbe::Supported;
using Unsupported = HardwareProbe::Unsupported;
using Failed = HardwareProbe::Failed;

const Failed unreadable{"The check gave an answer Torvel couldn’t make sense of."};

TEST(HardwareProbe, AnswersMapToResults) {
    struct Case {
        const char* answer;
        Result expected;
    };
    const Case cases[] = {
        {R"({"supported": true})", Supported{"?", std::nullopt, false}},
        {R"({"supported": true, "mode": "x", "discharge": "y", "led": true})", Supported{"x", "y", true}},
        {R"({"supported": true, "mode": 3, "discharge": false, "led": "yes"})",
         Supported{"?", std::nullopt, false}},
        {R"({"supported": false, "reason": "system-locked", "mode": "x"})", Unsupported::systemLocked},
        {R"({"supported": false})", Unsupported::unknownHardware},
        {R"({"supported": "yes"})", Unsupported::unknownHardware},
        {R"({"supported": 1, "reason": "system-locked"})", Unsupported::systemLocked},
        {R"({"supported": false, "reason": "unknown-hardware"})", Unsupported::unknownHardware},
        {R"({"supported": false, "reason": ["system-locked"]})", Unsupported::unknownHardware},
        {R"({})", Unsupported::unknownHardware},
        {R"([{"supported": true}])", unreadable},
        {"", unreadable},
        {"true", unreadable},
        {R"({"supported": true)", unreadable},
        {"{\"supported\": true}\n{}", unreadable},
    };
    for (const auto& c : cases) EXPECT_EQ(HardwareProbe::interpretOutput(c.answer), c.expected) << c.answer;
}

TEST(HardwareProbe, RunsThatFailBecomeTheirTexts) {
    EXPECT_EQ(HardwareProbe::interpret(HardwareProbe::MissingExecutable{}),
              Result(Failed{"Part of Torvel is missing. Download it again and try once more."}));
    EXPECT_EQ(HardwareProbe::interpret(HardwareProbe::LaunchFailure{"Permission denied"}),
              Result(Failed{"Permission denied"}));
    EXPECT_EQ(HardwareProbe::interpret(HardwareProbe::Output{R"({"supported": true, "mode": "m"})"}),
              Result(Supported{"m", std::nullopt, false}));
}

TEST(HardwareProbe, UnsupportedMessagesNameTheRelease) {
    EXPECT_EQ(
        Unsupported(Unsupported::unknownHardware).message(27),
        "Torvel couldn’t find a way to control charging on this Mac. It needs an Apple Silicon Mac, an M1 "
        "or newer.");
    EXPECT_EQ(
        Unsupported(Unsupported::systemLocked).message(27),
        "macOS 27 changed the way charging is controlled, and Torvel can’t hold a limit on it yet. We’re "
        "working on it, and it will arrive as an update.");
}

fs::path script(const std::string& name, const std::string& body, fs::perms perms = fs::perms::owner_all) {
    const fs::path dir = fs::path(::testing::TempDir()) / "torvel_probe";
    fs::create_directories(dir);
    const fs::path path = dir / name;
    std::ofstream(path) << body;
    fs::permissions(path, perms);
    return path;
}

TEST(HardwareProbe, RunsTheExecutableWithProbeArguments) {
    struct Case {
        const char* name;
        fs::path executable;
        HardwareProbe::ProbeRun expected;
    };
    const Case cases[] = {
        {"answer on stdout, noise on stderr, failing exit status",
         script("answers",
                "#!/bin/sh\necho 'warning: noisy' >&2\nprintf '{\"mode\": \"%s %s\"}' \"$1\" \"$2\"\n"
                "exit 3\n"),
         HardwareProbe::Output{R"({"mode": "--probe --json"})"}},
        {"answer larger than a pipe buffer",
         script("large", "#!/bin/sh\nhead -c 100000 /dev/zero | tr '\\0' ' '\necho '{}'\n"),
         HardwareProbe::Output{std::string(100000, ' ') + "{}\n"}},
        {"no file", fs::path(::testing::TempDir()) / "torvel_probe/absent",
         HardwareProbe::MissingExecutable{}},
        {"a directory", fs::path(::testing::TempDir()), HardwareProbe::MissingExecutable{}},
        {"not executable", script("plain", "#!/bin/sh\necho '{}'\n", fs::perms::owner_read),
         HardwareProbe::MissingExecutable{}},
        {"interpreter missing", script("orphan", "#!/nonexistent/interpreter\n"),
         HardwareProbe::LaunchFailure{"No such file or directory"}},
    };
    for (const auto& c : cases) EXPECT_EQ(HardwareProbe::run(c.executable), c.expected) << c.name;
}

TEST(HardwareProbe, SizeTextInDecimalKilobytesOrMegabytes) {
    struct Case {
        std::uintmax_t bytes;
        const char* text;
    };
    const Case cases[] = {
        {400, "1 kB"},       {840'000, "840 kB"},   {999'499, "999 kB"},
        {999'500, "1.0 MB"}, {1'234'567, "1.2 MB"}, {48'960'000, "49.0 MB"},
    };
    for (const auto& c : cases) EXPECT_EQ(HardwareProbe::sizeText(c.bytes), c.text) << c.bytes;
    EXPECT_EQ(HardwareProbe::daemonSizeText(fs::path(::testing::TempDir()) / "torvel_probe/absent"), "—");
    EXPECT_EQ(HardwareProbe::daemonSizeText(script("sized", std::string(2'500, '#'))), "3 kB");
}

}  // namespace
}  // namespace torvel
