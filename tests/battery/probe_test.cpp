#include "battery/probe.h"

#include <gtest/gtest.h>

#include <fstream>

namespace torvel {
namespace {

namespace fs = std::filesystem;
using Probe = HardwareProbe;

TEST(HardwareProbe, AnswersMapToResults) {
    const Probe::Failed unreadable{"The check gave an answer Torvel couldn’t make sense of."};
    const std::pair<const char*, Probe::Result> cases[] = {
        {R"({"supported": true})", Probe::Supported{"?", std::nullopt, false}},
        {R"({"supported": true, "mode": "x", "discharge": "y", "led": true})",
         Probe::Supported{"x", "y", true}},
        {R"({"supported": true, "mode": 3, "discharge": false, "led": "yes"})",
         Probe::Supported{"?", {}, false}},
        {R"({"supported": false, "reason": "system-locked"})", Probe::Unsupported::systemLocked},
        {R"({"supported": 1, "reason": "system-locked"})", Probe::Unsupported::systemLocked},
        {R"({"supported": false})", Probe::Unsupported::unknownHardware},
        {R"({"supported": "yes"})", Probe::Unsupported::unknownHardware},
        {R"({"supported": false, "reason": ["system-locked"]})", Probe::Unsupported::unknownHardware},
        {R"([{"supported": true}])", unreadable},
        {"", unreadable},
        {"{\"supported\": true}\n{}", unreadable},
    };
    for (const auto& [answer, expected] : cases)
        EXPECT_EQ(Probe::interpret(Probe::Output{answer}), expected) << answer;
    EXPECT_EQ(
        Probe::interpret(Probe::MissingExecutable{}),
        Probe::Result(Probe::Failed{"Part of Torvel is missing. Download it again and try once more."}));
    EXPECT_EQ(Probe::interpret(Probe::LaunchFailure{"Permission denied"}),
              Probe::Result(Probe::Failed{"Permission denied"}));
}

TEST(HardwareProbe, UnsupportedMessagesNameTheRelease) {
    EXPECT_EQ(
        Probe::Unsupported(Probe::Unsupported::unknownHardware).message(27),
        "Torvel couldn’t find a way to control charging on this Mac. It needs an Apple Silicon Mac, an M1 "
        "or newer.");
    EXPECT_EQ(
        Probe::Unsupported(Probe::Unsupported::systemLocked).message(27),
        "macOS 27 changed the way charging is controlled, and Torvel can’t hold a limit on it yet. We’re "
        "working on it, and it will arrive as an update.");
}

fs::path script(const std::string& name, const std::string& body, fs::perms perms = fs::perms::owner_all) {
    const fs::path path = fs::path(::testing::TempDir()) / ("torvel_probe_" + name);
    std::ofstream(path) << body;
    fs::permissions(path, perms);
    return path;
}

TEST(HardwareProbe, RunsTheExecutableWithProbeArguments) {
    const std::pair<fs::path, Probe::ProbeRun> cases[] = {
        // Noise on stderr and a failing exit status do not spoil the answer.
        {script("answers",
                "#!/bin/sh\necho noisy >&2\nprintf '{\"mode\": \"%s %s\"}' \"$1\" \"$2\"\nexit 3\n"),
         Probe::Output{R"({"mode": "--probe --json"})"}},
        {script("large", "#!/bin/sh\nhead -c 100000 /dev/zero | tr '\\0' ' '\n"),
         Probe::Output{std::string(100000, ' ')}},
        {fs::path(::testing::TempDir()) / "torvel_probe_absent", Probe::MissingExecutable{}},
        {fs::path(::testing::TempDir()), Probe::MissingExecutable{}},
        {script("plain", "#!/bin/sh\necho '{}'\n", fs::perms::owner_read), Probe::MissingExecutable{}},
        {script("orphan", "#!/nonexistent/interpreter\n"), Probe::LaunchFailure{"No such file or directory"}},
    };
    for (const auto& [executable, expected] : cases)
        EXPECT_EQ(Probe::run(executable), expected) << executable;
}

TEST(HardwareProbe, SizeTextInDecimalKilobytesOrMegabytes) {
    const std::pair<std::uintmax_t, const char*> cases[] = {
        {400, "1 kB"}, {840'000, "840 kB"}, {999'499, "999 kB"}, {999'500, "1.0 MB"}, {1'234'567, "1.2 MB"}};
    for (const auto& [bytes, text] : cases) EXPECT_EQ(Probe::sizeText(bytes), text) << bytes;
    EXPECT_EQ(Probe::daemonSizeText(fs::path(::testing::TempDir()) / "torvel_probe_absent"), "—");
    EXPECT_EQ(Probe::daemonSizeText(script("sized", std::string(2'500, '#'))), "3 kB");
}

}  // namespace
}  // namespace torvel
