#include "common/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <set>
#include <string>

#include "files/atomic_file.h"
#include "files/config_store.h"
#include "files/journal_writer.h"
#include "files/service_log.h"
#include "files/state_store.h"
#include "files/status_publisher.h"
#include "harness.h"
#include "history/store.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;
using Names = std::set<std::string>;
using Written = std::variant<bool, std::string>;

std::string contents(const fs::path& file) {
    auto bytes = readWholeFile(file);
    return std::holds_alternative<std::string>(bytes) ? std::get<std::string>(bytes) : "<unreadable>";
}

Names names(const fs::path& directory) {
    Names found;
    for (const auto& entry : fs::directory_iterator(directory))
        found.insert(entry.path().filename().string());
    return found;
}

class Files : public ::testing::Test {
  protected:
    testing::TempDir temp_;
    const fs::path& dir = temp_.path;
};

TEST_F(Files, ReplaceFileReplacesALinkInsteadOfWritingThroughIt) {
    std::ofstream(dir / "victim") << "precious";
    fs::create_symlink(dir / "victim", dir / "status.json");
    ASSERT_FALSE(replaceFile(dir / "status.json", "{}", 0644));
    EXPECT_EQ(contents(dir / "victim"), "precious");
    EXPECT_FALSE(fs::is_symlink(dir / "status.json"));
    EXPECT_EQ(contents(dir / "status.json"), "{}");
    EXPECT_EQ(names(dir), (Names{"status.json", "victim"}));  // no temporary left behind
    struct stat info {};
    ASSERT_EQ(::stat((dir / "status.json").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);

    EXPECT_EQ(replaceFile(dir / "missing-folder" / "config.json", "{}"),
              "cannot open the folder of config.json: No such file or directory");
}

TEST_F(Files, ConfigStoreKeepsAsideWhatIsNoPlainFileOrTooLargeAndKeepsThePartlyGoodKeys) {
    const fs::path config = dir / "config.json";
    struct Case {
        const char* name;
        std::function<void()> plant;
        Settings expected;
        const char* keptAs;
    };
    const std::vector<Case> cases{
        {"fifo", [&] { ASSERT_EQ(::mkfifo(config.c_str(), 0644), 0); }, Settings{}, "config.json.bad"},
        {"two megabytes",
         [&] { std::ofstream(config) << R"({"limit":70,"x":")" << std::string(2 << 20, 'x') << "\"}"; },
         Settings{}, "config.json.bad-2"},
        {"partly bad", [&] { std::ofstream(config) << R"({"limit":70,"hysteresis":0,"topUp":true})"; },
         Settings{.limit = 70, .topUp = true}, "config.json.bad-3"},
        {"repeated key", [&] { std::ofstream(config) << R"({"limit":70,"limit":90})"; }, Settings{},
         "config.json.bad-4"},
        // Kept aside as the link it is: nothing is read or written through it.
        {"link",
         [&] {
             std::ofstream(dir / "elsewhere") << R"({"limit":60})";
             fs::create_symlink(dir / "elsewhere", config);
         },
         Settings{}, "config.json.bad-5"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        c.plant();
        const auto loaded = ConfigStore(config).load();
        EXPECT_EQ(loaded.settings, c.expected);
        EXPECT_TRUE(loaded.note);
        // What is in force is what config.json says, for the app that reads it too.
        if (c.expected == Settings{}) {
            EXPECT_FALSE(fs::exists(fs::symlink_status(config)));
        } else {
            EXPECT_EQ(contents(config), settingsMessage(c.expected));
        }
        EXPECT_TRUE(fs::exists(fs::symlink_status(dir / c.keptAs)));
        fs::remove(config);
    }
    EXPECT_EQ(fs::status(dir / "config.json.bad").type(), fs::file_type::fifo);  // nothing kept was replaced
    EXPECT_TRUE(fs::is_symlink(dir / "config.json.bad-5"));
    EXPECT_EQ(contents(dir / "elsewhere"), R"({"limit":60})");
}

TEST_F(Files, TemporaryFilesOfADeadWriterGoAndNothingElse) {
    for (const char* name :
         {".config.json.123.4", ".status.json.9.0", "notes.txt", ".hidden", "config.json.1.2"})
        std::ofstream(dir / name) << "x";
    removeTemporaryFiles(dir);
    EXPECT_EQ(names(dir), (Names{"notes.txt", ".hidden", "config.json.1.2"}));
}

TEST_F(Files, LogAndJournalMoveALinkedTargetAsideAndStartAfresh) {
    std::ofstream(dir / "victim") << "precious";
    const fs::path history = dir / "history";
    fs::create_directories(history);
    const Instant noon30April = 1'714'471'200;  // 2024-04-30 12:00 Paris
    for (const bool hard : {false, true}) {
        SCOPED_TRACE(hard);
        for (const fs::path& target : {dir / "daemon.log", history / "2024-04-30.jsonl"}) {
            fs::remove(target);
            hard ? fs::create_hard_link(dir / "victim", target) : fs::create_symlink(dir / "victim", target);
        }
        ServiceLog(dir / "daemon.log").write(noon30April, "hello");
        JournalWriter journal(history);
        EXPECT_EQ(journal.record({noon30April, 50, ChargeState::allow, false, {}}, 0), Written(true));
        EXPECT_TRUE(journal.takeNote());
        EXPECT_EQ(contents(dir / "victim"), "precious");
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(dir / "daemon.log")));
        EXPECT_EQ(fs::hard_link_count(dir / "daemon.log"), 1u);
        EXPECT_NE(contents(dir / "daemon.log").find(" hello\n"), std::string::npos);
        EXPECT_EQ(fs::hard_link_count(history / "2024-04-30.jsonl"), 1u);
        fs::remove(dir / "daemon.log.bad");
        fs::remove(history / "2024-04-30.jsonl.bad");
    }
}

TEST_F(Files, AHundredThousandOldDayFilesArePrunedAFewAtATime) {
    const fs::path history = dir / "history";
    fs::create_directories(history);
    const Instant noon30April = 1'714'471'200;
    std::size_t planted = 0;
    // Day names for a hundred thousand files: every date of years 1000 to 1273, which all count as old.
    for (int year = 1000; planted < 100000; ++year) {
        for (int month = 1; month <= 12 && planted < 100000; ++month) {
            for (int day = 1; day <= 28 && planted < 100000; ++day, ++planted) {
                char name[32];
                std::snprintf(name, sizeof name, "%04d-%02d-%02d.jsonl", year, month, day);
                FileDescriptor(::open((history / name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
            }
        }
    }
    JournalWriter journal(history);
    ASSERT_FALSE(journal.prune(noon30April, 0, 30));
    EXPECT_EQ(names(history).size(), 100000u - JournalWriter::maxDeletionsPerCall);
    // The rest go on the following looks, not a day later.
    ASSERT_FALSE(journal.prune(noon30April + 5, 5, 30));
    EXPECT_EQ(names(history).size(), 100000u - 2 * JournalWriter::maxDeletionsPerCall);
}

TEST_F(Files, ConfigAndStateStoresRoundTrip) {
    ConfigStore config(dir / "config.json");
    EXPECT_EQ(config.load().settings, Settings{});
    EXPECT_FALSE(config.load().note);
    const Settings settings{.limit = 65, .topUp = true};
    ASSERT_FALSE(config.save(settings));
    EXPECT_EQ(contents(config.file()), settingsMessage(settings));
    EXPECT_EQ(config.load().settings, settings);

    StateStore state(dir / "service-state.json");
    ControlMemory memory;
    memory.protectedSeconds = 4321;
    memory.cal.phase = CalibrationStatus::Phase::soak;
    memory.cal.soakBanked = 120;
    memory.calBeforeRaw = 4900;
    ASSERT_FALSE(state.save(memory));
    EXPECT_EQ(state.load(), memory);
    std::ofstream(state.file()) << "not json";
    EXPECT_EQ(state.load(), ControlMemory{});
}

TEST_F(Files, JournalAndStatusAreWrittenOnChangeAndOnTheirOwnBeat) {
    struct Step {
        double at;
        int pct;
        bool written;
    };
    const Instant t0 = 1'700'000'000;
    JournalWriter journal(dir / "history");
    // A change waits out the minute since the last line; no change still writes every five minutes.
    for (const Step& s : {Step{0, 80, true},
                          {30, 81, false},
                          {60, 81, true},
                          {200, 81, false},
                          {359, 81, false},
                          {360, 81, true},
                          {420, 82, true}}) {
        EXPECT_EQ(journal.record({t0 + s.at, s.pct, ChargeState::hold, true, 30.2}, s.at), Written(s.written))
            << s.at;
    }
    const auto samples = HistoryStore(dir / "history").samples(t0, t0 + 1000);
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[0], (HistorySample{t0, 80, ChargeState::hold, true, 30.2}));

    // The status file goes out on any change and at least every fifteen seconds.
    StatusPublisher publisher(dir / "status.json");
    PublishedStatus status;
    for (const Step& s :
         {Step{0, 50, true}, {5, 50, false}, {10, 51, true}, {20, 51, false}, {25, 51, true}}) {
        status.pct = s.pct;
        EXPECT_EQ(publisher.publish(status, t0 + s.at), Written(s.written)) << s.at;
    }
}

TEST_F(Files, RetentionDeletesOnlyOldDayFilesAndFollowsNoLink) {
    const fs::path history = dir / "history";
    fs::create_directories(history);
    std::ofstream(dir / "outside.txt") << "keep";
    for (const char* name : {"2024-01-01.jsonl", "2024-03-30.jsonl", "2024-03-31.jsonl", "2024-04-30.jsonl",
                             "notes.txt", "2024-01-01.jsonl.bak", "2024-1-01.jsonl"}) {
        std::ofstream(history / name) << "{}\n";
    }
    fs::create_symlink(dir / "outside.txt", history / "2023-12-31.jsonl");
    fs::create_directory(history / "2020-01-01.jsonl");
    const Instant noon30April = 1'714'471'200;  // 2024-04-30 12:00 Paris
    ASSERT_FALSE(JournalWriter(history).prune(noon30April, 0, 30));
    EXPECT_EQ(names(history), (Names{"2024-03-31.jsonl", "2024-04-30.jsonl", "notes.txt",
                                     "2024-01-01.jsonl.bak", "2024-1-01.jsonl", "2020-01-01.jsonl"}));
    EXPECT_EQ(contents(dir / "outside.txt"), "keep");

    // A journal folder that is itself a link is neither pruned nor written through.
    fs::create_directories(dir / "real");
    std::ofstream(dir / "real" / "2000-01-01.jsonl") << "{}\n";
    fs::create_symlink(dir / "real", dir / "linked");
    JournalWriter linked(dir / "linked");
    EXPECT_TRUE(linked.prune(noon30April, 0, 1));
    EXPECT_TRUE(std::holds_alternative<std::string>(
        linked.record({noon30April, 50, ChargeState::allow, false, {}}, 0)));
    EXPECT_EQ(names(dir / "real"), Names{"2000-01-01.jsonl"});
}

TEST_F(Files, DaysWrittenUnderALeapThatWasUndoneAreKeptAsideAndPurgedWithTheRest) {
    const fs::path history = dir / "history";
    const Instant noon30April = 1'714'471'200;  // 2024-04-30 12:00 Paris
    JournalWriter journal(history);
    ASSERT_EQ(journal.record({noon30April, 50, ChargeState::allow, false, {}}, 100), Written(true));
    // A month ahead from boot time 200 on, then back.
    ASSERT_EQ(journal.record({noon30April + 31 * 86400.0, 51, ChargeState::allow, false, {}}, 200),
              Written(true));
    journal.setAsideDaysAhead(noon30April + 300, 150);
    EXPECT_EQ(names(history), (Names{"2024-04-30.jsonl", "2024-05-31.jsonl.bad"}));
    EXPECT_TRUE(journal.takeNote());
    // The day it stood for, when it comes, starts afresh; and the line after the leap is not held back by it.
    EXPECT_EQ(journal.record({noon30April + 310, 52, ChargeState::allow, false, {}}, 410), Written(true));
    ASSERT_FALSE(journal.removeAll());
    EXPECT_FALSE(fs::exists(history));
}

TEST_F(Files, ServiceLogStaysUnderItsCapWithOneOlderGeneration) {
    ServiceLog log(dir / "daemon.log", 400);
    for (int i = 0; i < 100; ++i) log.write(1'700'000'000 + i, "line " + std::to_string(i));
    EXPECT_LE(fs::file_size(dir / "daemon.log"), 400u);
    EXPECT_LE(fs::file_size(dir / "daemon.log.1"), 400u);
    EXPECT_EQ(names(dir), (Names{"daemon.log", "daemon.log.1"}));
    EXPECT_NE(contents(dir / "daemon.log").find(" line 99\n"), std::string::npos);
}

}  // namespace
}  // namespace torvel::daemon
