#include "service/log_tail.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace torvel {
namespace {

std::string numberedLines(int count, std::size_t width) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
        std::string line = "line " + std::to_string(i) + " ";
        line.resize(width - 1, 'x');
        text += line + "\n";
    }
    return text;
}

TEST(LogTailText, TakesTheLastFiftyOfTheLastBytes) {
    // 100 kB of 100-byte lines: the tail starts mid-line, which must not appear.
    const std::string log = numberedLines(1000, 100);
    const std::string tail = log.substr(log.size() - logTailBytes);
    const std::string text = logTailText(FileTail{.bytes = tail, .fileSize = log.size()});
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 49);
    EXPECT_TRUE(text.starts_with("line 951 ")) << text.substr(0, 20);
    EXPECT_TRUE(text.ends_with("x")) << "no trailing line feed";
}

TEST(LogTailText, WholeFilesAndEdges) {
    struct Case {
        const char* name;
        std::string bytes;
        std::uintmax_t fileSize;
        std::string expected;
    };
    const std::string exact(logTailBytes - 6, 'a');
    const Case cases[] = {
        {"short file read whole", "one\n\ntwo\n", 9, "one\ntwo"},
        {"exactly the tail size loses nothing", "first\n" + exact, logTailBytes, "first\n" + exact},
        {"one byte over drops the cut line", "first\n" + exact, logTailBytes + 1, exact},
        {"only empty lines", "\n\n\n", 3, "(empty)"},
        {"empty file", "", 0, "(empty)"},
        {"a single cut line leaves nothing", std::string(100, 'b'), logTailBytes + 100, "(empty)"},
        {"invalid UTF-8 repaired", "ok \xC3\x28 \xE2\x82\n", 9, "ok \xEF\xBF\xBD( \xEF\xBF\xBD"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(logTailText(FileTail{.bytes = c.bytes, .fileSize = c.fileSize}), c.expected) << c.name;
    }
}

TEST(LogTail, FailuresBecomeShortNotes) {
    const auto dir = std::filesystem::temp_directory_path() / ("torvel-log-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    EXPECT_EQ(logTail(dir / "missing.log"), "(no log file)");
    EXPECT_EQ(logTail(dir), "(unreadable)") << "a directory cannot be read as a log";

    const auto locked = dir / "locked.log";
    std::ofstream(locked) << "secret\n";
    ::chmod(locked.c_str(), 0);
    if (::geteuid() != 0) {  // root reads through permissions
        EXPECT_EQ(logTail(locked), "(unreadable: permission denied)");
    }

    const auto plain = dir / "daemon.log";
    std::ofstream(plain) << "12:00 started\n12:01 holding at 80%\n";
    EXPECT_EQ(logTail(plain), "12:00 started\n12:01 holding at 80%");
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace torvel
