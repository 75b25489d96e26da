#include "common/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "files/atomic_file.h"
#include "files/config_store.h"
#include "files/journal_writer.h"
#include "files/service_log.h"
#include "files/state_store.h"
#include "files/status_publisher.h"
#include "history/store.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

class TempDir {
  public:
    TempDir() {
        char pattern[] = "/tmp/torvel-files-XXXXXX";
        path_ = ::mkdtemp(pattern);
    }
    ~TempDir() { fs::remove_all(path_); }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

std::string contents(const fs::path& file) {
    auto bytes = readWholeFile(file);
    return std::holds_alternative<std::string>(bytes) ? std::get<std::string>(bytes) : "<unreadable>";
}

std::set<std::string> names(const fs::path& directory) {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory))
        found.insert(entry.path().filename().string());
    return found;
}

TEST(ValidateSettings, RefusesEachBadKeyByName) {
    const struct {
        const char* message;
        const char* answer;
    } cases[] = {
        {"[]", "The settings are not a JSON object."},
        {"{\"limit\":", "The settings are not a JSON object."},
        {R"({"limit":19})", "The setting limit must be a whole number from 20 to 100."},
        {R"({"limit":101})", "The setting limit must be a whole number from 20 to 100."},
        {R"({"limit":"80"})", "The setting limit must be a whole number from 20 to 100."},
        {R"({"limit":80.5})", "The setting limit must be a whole number from 20 to 100."},
        {R"({"hysteresis":0})", "The setting hysteresis must be a whole number from 1 to 40."},
        {R"({"hysteresis":41})", "The setting hysteresis must be a whole number from 1 to 40."},
        {R"({"thermalLimit":24})", "The setting thermalLimit must be a whole number from 25 to 60."},
        {R"({"thermalLimit":61})", "The setting thermalLimit must be a whole number from 25 to 60."},
        {R"({"topUpHours":-1})", "The setting topUpHours must be a whole number from 0 to 48."},
        {R"({"topUpHours":49})", "The setting topUpHours must be a whole number from 0 to 48."},
        {R"({"historyDays":0})", "The setting historyDays must be a whole number from 1 to 3650."},
        {R"({"historyDays":3651})", "The setting historyDays must be a whole number from 1 to 3650."},
        {R"({"blinkSeconds":0.4})", "The setting blinkSeconds must be a number from 0.5 to 5."},
        {R"({"blinkSeconds":5.01})", "The setting blinkSeconds must be a number from 0.5 to 5."},
        {R"({"blinkSeconds":"2"})", "The setting blinkSeconds must be a number from 0.5 to 5."},
        {R"({"enabled":"yes"})", "The setting enabled must be true or false."},
        {R"({"calibrate":1})", "The setting calibrate must be true or false."},
        {R"({"resetProtected":"true"})", "The setting resetProtected must be true or false."},
    };
    for (const auto& c : cases) {
        const auto result = validateSettings(c.message, Settings{});
        ASSERT_TRUE(std::holds_alternative<std::string>(result)) << c.message;
        EXPECT_EQ(std::get<std::string>(result), c.answer) << c.message;
    }
}

TEST(ValidateSettings, AcceptsTheEdgesKeepsUnsentKeysAndIgnoresUnknownOnes) {
    Settings current;
    current.thermal = true;
    const auto result = validateSettings(
        R"({"limit":20,"hysteresis":40,"thermalLimit":60,"topUpHours":48,"historyDays":3650,"blinkSeconds":0.5,
            "someday":[1],"resetProtected":true})",
        current);
    ASSERT_TRUE(std::holds_alternative<AcceptedSettings>(result));
    const auto& accepted = std::get<AcceptedSettings>(result);
    EXPECT_EQ(accepted.settings.limit, 20);
    EXPECT_EQ(accepted.settings.hysteresis, 40);
    EXPECT_EQ(accepted.settings.blinkSeconds, 0.5);
    EXPECT_TRUE(accepted.settings.thermal);
    EXPECT_TRUE(accepted.resetProtected);
}

TEST(ReplaceFile, ReplacesALinkInsteadOfWritingThroughIt) {
    TempDir dir;
    const fs::path victim = dir.path() / "victim";
    std::ofstream(victim) << "precious";
    fs::create_symlink(victim, dir.path() / "status.json");
    ASSERT_FALSE(replaceFile(dir.path() / "status.json", "{}", 0644));
    EXPECT_EQ(contents(victim), "precious");
    EXPECT_FALSE(fs::is_symlink(dir.path() / "status.json"));
    EXPECT_EQ(contents(dir.path() / "status.json"), "{}");
    EXPECT_EQ(names(dir.path()), (std::set<std::string>{"status.json", "victim"}));
    struct stat info {};
    ASSERT_EQ(::stat((dir.path() / "status.json").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

TEST(ReplaceFile, FailureNamesTheFileAndLeavesNoTemporary) {
    TempDir dir;
    const auto error = replaceFile(dir.path() / "missing-folder" / "config.json", "{}");
    ASSERT_TRUE(error);
    EXPECT_EQ(*error, "cannot open the folder of config.json: No such file or directory");
}

TEST(ConfigStore, KeepsACorruptOrLinkedFileAsideAndUsesTheDefaults) {
    const struct {
        const char* name;
        void (*plant)(const fs::path& config);
    } cases[] = {
        {"garbage", [](const fs::path& config) { std::ofstream(config) << "{\"limit\":"; }},
        {"out of range", [](const fs::path& config) { std::ofstream(config) << R"({"limit":5})"; }},
        {"link",
         [](const fs::path& config) {
             std::ofstream(config.parent_path() / "elsewhere") << R"({"limit":60})";
             fs::create_symlink(config.parent_path() / "elsewhere", config);
         }},
    };
    for (const auto& c : cases) {
        TempDir dir;
        const fs::path config = dir.path() / "config.json";
        c.plant(config);
        const std::string before = fs::is_symlink(config) ? "" : contents(config);
        const auto loaded = ConfigStore(config).load();
        EXPECT_EQ(loaded.settings, Settings{}) << c.name;
        ASSERT_TRUE(loaded.note) << c.name;
        EXPECT_FALSE(fs::exists(fs::symlink_status(config))) << c.name;
        EXPECT_TRUE(fs::exists(fs::symlink_status(dir.path() / "config.json.bad"))) << c.name;
        if (!before.empty()) {
            EXPECT_EQ(contents(dir.path() / "config.json.bad"), before) << c.name;
        }
    }
}

TEST(ConfigStore, SavesTheAppsOwnEncodingAndReadsItBack) {
    TempDir dir;
    ConfigStore store(dir.path() / "config.json");
    EXPECT_EQ(store.load().settings, Settings{});
    EXPECT_FALSE(store.load().note);
    Settings settings;
    settings.limit = 65;
    settings.topUp = true;
    ASSERT_FALSE(store.save(settings));
    EXPECT_EQ(contents(store.file()), settingsMessage(settings));
    EXPECT_EQ(store.load().settings, settings);
}

TEST(StateStore, RoundTripsAndSurvivesDamage) {
    TempDir dir;
    StateStore store(dir.path() / "service-state.json");
    ControlMemory memory;
    memory.protectedSeconds = 4321;
    memory.cal.phase = CalibrationStatus::Phase::soak;
    memory.cal.soakBanked = 120;
    memory.calBeforeRaw = 4900;
    ASSERT_FALSE(store.save(memory));
    EXPECT_EQ(store.load(), memory);
    std::ofstream(store.file()) << "not json";
    EXPECT_EQ(store.load(), ControlMemory{});
}

TEST(JournalWriter, WritesAtMostAMinuteApartOnChangeAndEveryFiveMinutes) {
    TempDir dir;
    JournalWriter journal(dir.path() / "history");
    const Instant t0 = 1'700'000'000;
    const struct {
        double at;
        int pct;
        bool written;
    } steps[] = {
        {0, 80, true},     // first reading
        {30, 81, false},   // changed, but within the minute
        {60, 81, true},    // changed and a minute on
        {200, 81, false},  // unchanged
        {359, 81, false},  // unchanged, just under five minutes
        {360, 81, true},   // five minutes
        {420, 82, true},
    };
    for (const auto& step : steps) {
        const auto result = journal.record({t0 + step.at, step.pct, "hold", true, 30.2});
        ASSERT_TRUE(std::holds_alternative<bool>(result));
        EXPECT_EQ(std::get<bool>(result), step.written) << step.at;
    }
    const auto samples = HistoryStore(dir.path() / "history").samples(t0, t0 + 1000);
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[0], (HistorySample{t0, 80, "hold", true, 30.2}));
}

TEST(JournalWriter, RetentionDeletesOnlyOldDayFilesAndFollowsNoLink) {
    TempDir dir;
    const fs::path history = dir.path() / "history";
    fs::create_directories(history);
    const fs::path outside = dir.path() / "outside.txt";
    std::ofstream(outside) << "keep";
    for (const char* name : {"2024-01-01.jsonl", "2024-03-30.jsonl", "2024-03-31.jsonl", "2024-04-30.jsonl",
                             "notes.txt", "2024-01-01.jsonl.bak", "2024-1-01.jsonl"}) {
        std::ofstream(history / name) << "{}\n";
    }
    fs::create_symlink(outside, history / "2023-12-31.jsonl");
    fs::create_directory(history / "2020-01-01.jsonl");

    JournalWriter journal(history);
    const Instant noon30April = 1'714'471'200;  // 2024-04-30 12:00 Paris
    ASSERT_FALSE(journal.prune(noon30April, 30));
    EXPECT_EQ(names(history),
              (std::set<std::string>{"2024-03-31.jsonl", "2024-04-30.jsonl", "notes.txt",
                                     "2024-01-01.jsonl.bak", "2024-1-01.jsonl", "2020-01-01.jsonl"}));
    EXPECT_EQ(contents(outside), "keep");
}

TEST(JournalWriter, RefusesAJournalDirectoryThatIsALink) {
    TempDir dir;
    fs::create_directories(dir.path() / "real");
    std::ofstream(dir.path() / "real" / "2000-01-01.jsonl") << "{}\n";
    fs::create_symlink(dir.path() / "real", dir.path() / "history");
    JournalWriter journal(dir.path() / "history");
    EXPECT_TRUE(journal.prune(1'714'471'200, 1));
    EXPECT_TRUE(std::holds_alternative<std::string>(journal.record({1'714'471'200, 50, "allow", false, {}})));
    EXPECT_EQ(names(dir.path() / "real"), std::set<std::string>{"2000-01-01.jsonl"});
}

TEST(ServiceLog, StaysUnderItsCapWithOneOlderGeneration) {
    TempDir dir;
    ServiceLog log(dir.path() / "daemon.log", 400);
    for (int i = 0; i < 100; ++i) log.write(1'700'000'000 + i, "line " + std::to_string(i));
    EXPECT_LE(fs::file_size(dir.path() / "daemon.log"), 400u);
    EXPECT_LE(fs::file_size(dir.path() / "daemon.log.1"), 400u);
    EXPECT_EQ(names(dir.path()), (std::set<std::string>{"daemon.log", "daemon.log.1"}));
    EXPECT_NE(contents(dir.path() / "daemon.log").find(" line 99\n"), std::string::npos);
}

TEST(StatusPublisher, WritesOnChangeAndAtLeastEveryFifteenSeconds) {
    TempDir dir;
    StatusPublisher publisher(dir.path() / "status.json");
    PublishedStatus status;
    const Instant t0 = 1'700'000'000;
    const struct {
        double at;
        int pct;
        bool written;
    } steps[] = {{0, 50, true}, {5, 50, false}, {10, 51, true}, {20, 51, false}, {25, 51, true}};
    for (const auto& step : steps) {
        status.pct = step.pct;
        const auto result = publisher.publish(status, t0 + step.at);
        ASSERT_TRUE(std::holds_alternative<bool>(result));
        EXPECT_EQ(std::get<bool>(result), step.written) << step.at;
    }
}

}  // namespace
}  // namespace torvel::daemon
