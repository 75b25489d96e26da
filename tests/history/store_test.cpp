#include "history/store.h"

#include <gtest/gtest.h>

#include <limits>

#include "history_support.h"

namespace torvel {
namespace {

using testing::march7;
using testing::march8;
using testing::reading;

constexpr Instant march30 = 1743289200;  // 23 hours long: clocks go forward at 02:00
constexpr Instant march31 = 1743372000;

const std::filesystem::path fixtures = std::filesystem::path(TORVEL_FIXTURES) / "history/journal";

std::vector<Instant> dates(const std::vector<HistorySample>& samples) {
    std::vector<Instant> out;
    for (const auto& s : samples) out.push_back(s.date);
    return out;
}

TEST(JournalLine, ReadsEachKeyWithItsDefaultsAndSkipsWhatIsNotAReading) {
    const std::pair<const char*, std::optional<HistorySample>> cases[] = {
        {R"({"t":1700000000,"p":80})", reading(1700000000, 80)},
        {R"({"t":1700000000.5,"p":80,"ct":312})", reading(1700000000.5, 80, 31.2)},
        {R"({"t":1,"p":5,"c":305})", reading(1, 5, 30.5)},
        {R"({"t":1,"p":5,"c":30.5})", reading(1, 5, 30.5)},
        // A whole number in the older key is tenths, however it is spelled.
        {R"({"t":1,"p":5,"c":29.0})", reading(1, 5, 2.9)},
        {R"({"t":1,"p":5,"ct":312,"c":999})", reading(1, 5, 31.2)},
        {R"({"t":1,"p":5,"ct":"312","c":305})", reading(1, 5, 30.5)},
        {R"({"t":1,"p":5,"ct":null})", reading(1, 5)},
        {R"({"t":1,"p":5,"s":"hold","g":true})", reading(1, 5, std::nullopt, "hold", true)},
        {R"({"t":1,"p":5,"s":"cooling","g":true})", reading(1, 5, std::nullopt, "cooling", true)},
        {R"({"t":1,"p":5,"s":7,"g":1})", reading(1, 5)},
        {R"({"t":1,"p":5,"s":null,"g":"true"})", reading(1, 5)},
        {R"( {"t":-1.25,"p":-3} )", reading(-1.25, -3)},
        {"{\"t\":1,\"p\":5}\r", reading(1, 5)},
        {R"({"t":1,"p":80.0})", reading(1, 80)},
        {R"({"t":1700000000,"p":80.5})", std::nullopt},
        {R"({"t":1700000000,"p":"80"})", std::nullopt},
        {R"({"t":"1700000000","p":80})", std::nullopt},
        {R"({"t":true,"p":80})", std::nullopt},
        {R"({"p":80})", std::nullopt},
        {R"({"t":1})", std::nullopt},
        {R"({"t":1,"p":18446744073709551615})", std::nullopt},
        {R"([{"t":1,"p":5}])", std::nullopt},
        {R"({"t":1,"p":5)", std::nullopt},
        {R"({"t":1,"p":5}{"t":2,"p":6})", std::nullopt},
        {R"({"t":1,"p":5,"x":tru})", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [line, expected] : cases) EXPECT_EQ(JournalLine::parse(line), expected) << line;
}

TEST(JournalLine, EncodedLinesReadBackUnchanged) {
    const HistorySample samples[] = {
        reading(1700000000.5, 100, 31.2, "hold", true),
        reading(1741388399.25, 7, -4.5, "discharge", false),
        reading(1, 0, 36.05, "a word of a newer service", true),
        reading(1e74, 80),
    };
    for (const auto& s : samples) {
        const std::string line = JournalLine::encode(s);
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
        EXPECT_EQ(JournalLine::parse(line), s) << line;
    }
    EXPECT_EQ(JournalLine::encode(reading(1700000000, 80, 31.2, "hold", true)),
              R"({"t":1700000000,"p":80,"ct":312,"s":"hold","g":true})");
    EXPECT_EQ(JournalLine::encode(reading(1700000000.5, 80)),
              R"({"t":1700000000.5,"p":80,"s":"allow","g":false})");
}

TEST(HistoryStoreParseDay, SplitsOnLineFeedsOnly) {
    const std::pair<std::string, std::vector<Instant>> cases[] = {
        {"{\"t\":1,\"p\":5}\n\n\n{\"t\":2,\"p\":6}\n", {1, 2}},
        {"{\"t\":1,\"p\":5}\n{\"t\":2,\"p\":6}", {1, 2}},
        {"{\"t\":2,\"p\":5}\n{\"t\":1,\"p\":6}\n{\"t\":1,\"p\":6}", {2, 1, 1}},
        {"{\"t\":1,\"p\":5}\n{\"t\":2,\"p\"", {1}},
        {"{\"t\":1,\n\"p\":5}", {}},
        {"{\"t\":1,\"p\":5}\r\n{\"t\":2,\"p\":6}\r\n", {1, 2}},
        {"{\"t\":1,\"p\":5,\"s\":\"caf\xc3\xa9\"}\n", {1}},
        // One undecodable byte anywhere makes the whole file unreadable, as for a strict UTF-8 reader.
        {"{\"t\":1,\"p\":5}\n{\"t\":2,\"p\":6,\"s\":\"\xff\"}\n", {}},
        {"\n\n", {}},
    };
    for (const auto& [bytes, expected] : cases)
        EXPECT_EQ(dates(HistoryStore::parseDay(bytes)), expected) << bytes;
}

TEST(HistoryStore, NamesDayFilesByLocalCalendarDay) {
    const std::pair<Instant, std::optional<std::string>> cases[] = {
        {march7, "2025-03-07.jsonl"},
        {march8 - 0.5, "2025-03-07.jsonl"},
        {march8, "2025-03-08.jsonl"},
        {march7 - 3600, "2025-03-06.jsonl"},  // 23:00 UTC is already the 7th in Paris
        {march31 - 1, "2025-03-30.jsonl"},
        {0, "1970-01-01.jsonl"},
        {std::numeric_limits<double>::quiet_NaN(), std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt},
        {1e300, std::nullopt},
    };
    for (const auto& [instant, name] : cases) EXPECT_EQ(HistoryStore::dayFileName(instant), name) << instant;
}

TEST(HistoryStore, ReadsAFixtureDayInFileOrderSkippingWhatIsNotAReading) {
    const HistoryStore store(fixtures);
    const std::vector<HistorySample> expected = {
        reading(1741388000, 80, 31.2, "hold", true),
        reading(1741388100.5, 81, 30.5),
        reading(1741388340, 82, 30.5),
        reading(1741388399, 83, std::nullopt, "hold"),
    };
    EXPECT_EQ(store.samples(march7 + 12 * 3600), expected);
    EXPECT_TRUE(store.samples(march8 + 86400).empty()) << "the undecodable day";
    EXPECT_TRUE(store.samples(march30).empty()) << "no file that day";
    EXPECT_TRUE(HistoryStore("/nonexistent/torvel").samples(march7).empty());
}

TEST(HistoryStore, RangeIsInclusiveAtBothEndsAcrossMidnight) {
    const HistoryStore store(fixtures);
    const std::tuple<Instant, Instant, std::vector<Instant>> cases[] = {
        {1741388100.5, 1741388460, {1741388100.5, 1741388340, 1741388399, 1741388400, 1741388460}},
        {1741388100.6, 1741388459, {1741388340, 1741388399, 1741388400}},
        {march8, march8, {1741388400}},
        {march7,
         march8 + 2 * 86400,
         {1741388000, 1741388100.5, 1741388340, 1741388399, 1741388400, 1741388460, 1741389000}},
        {march8, march7, {}},
    };
    for (const auto& [from, to, expected] : cases)
        EXPECT_EQ(dates(store.samples(from, to)), expected) << from;
}

TEST(HistoryStore, RangeWalksShortAndLongDaysOfClockChanges) {
    testing::TempDir dir;
    // One reading at 23:30 local on each of four days around the spring change and the autumn change.
    const std::pair<const char*, Instant> days[] = {{"2025-03-29.jsonl", march30 - 1800},
                                                    {"2025-03-30.jsonl", march31 - 1800},
                                                    {"2025-10-25.jsonl", 1761429600 - 1800},
                                                    {"2025-10-26.jsonl", 1761519600 - 1800}};
    for (const auto& [name, date] : days) dir.write(name, JournalLine::encode(reading(date, 50)) + "\n");
    const HistoryStore store(dir.path());
    EXPECT_EQ(store.samples(march30 - 86400, march31 + 3600).size(), 2u);
    EXPECT_EQ(store.samples(1761429600 - 86400, 1761519600 + 3600).size(), 2u);
}

TEST(HistoryStore, SummaryCountsTopLevelDayFilesAndTheirBytes) {
    using Counted = std::pair<std::int64_t, std::int64_t>;  // days, bytes
    const auto counted = [](const std::filesystem::path& dir) {
        const auto summary = HistoryStore(dir).summary();
        return Counted(summary.days, summary.bytes);
    };
    EXPECT_EQ(counted(fixtures), Counted(3, 240 + 146 + 59));
    testing::TempDir dir;
    EXPECT_EQ(counted(dir.path()), Counted(0, 0));
    EXPECT_EQ(counted(dir.path() / "missing"), Counted(0, 0));
    dir.write("2025-03-07.jsonl", "12345");
    dir.write("notes.txt", "not a day");
    std::filesystem::create_directory(dir.path() / "old");
    dir.write("old/2024-01-01.jsonl", "nested days are not counted");
    EXPECT_EQ(counted(dir.path()), Counted(1, 5));
}

TEST(RetentionChoice, NearestOfferedChoiceWithTiesToTheShorter) {
    const std::pair<std::int64_t, int> cases[] = {
        {30, 30},
        {0, 30},
        {-500, 30},
        {60, 30},
        {61, 90},
        {227, 90},
        {228, 365},
        {730, 365},
        {731, 1095},
        {1'000'000, 1095},
        {std::numeric_limits<std::int64_t>::min(), 30},
    };
    for (const auto& [days, expected] : cases)
        EXPECT_EQ(RetentionChoice::nearest(days).days, expected) << days;
    EXPECT_EQ(RetentionChoice::nearest(10, {}).days, 365);
    EXPECT_EQ(RetentionChoice::nearest(400).label, "1 year");
}

}  // namespace
}  // namespace torvel
