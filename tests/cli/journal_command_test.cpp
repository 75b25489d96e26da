#include <gtest/gtest.h>

#include <cstdlib>

#include "common/json.h"
#include "run_torvelctl.h"

namespace torvel::cli {
namespace {

using testing::Outcome;
using testing::torvelctl;

class JournalCommand : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("TORVEL_ROOT", TORVEL_SOURCE_DIR "/samples/datadir", 1); }
    void TearDown() override { ::unsetenv("TORVEL_ROOT"); }
};

TEST_F(JournalCommand, RangesOfTheSampleMonth) {
    struct Case {
        std::vector<std::string> selection;
        const char* headline;
        std::size_t maxBuckets;
    };
    const Case cases[] = {
        {{"--range", "week"}, "A hot week for the battery", 240},
        {{"--range", "month"}, "A month too often at full charge", 240},
        {{"--range", "year"}, "A year too often at full charge", 240},
        {{"--day", "2025-11-20"}, "A calm week for the battery", 1440},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"journal", "--json", "--now", "1763900020", "--thermal-limit", "40"};
        args.insert(args.end(), c.selection.begin(), c.selection.end());
        const Outcome result = torvelctl(args);
        ASSERT_EQ(result.status, exitOk) << result.err;
        const auto journal = json::parseObject(result.out);
        ASSERT_TRUE(journal);
        EXPECT_EQ((*journal)["rangeHeadline"], c.headline) << c.selection.back();
        EXPECT_GT((*journal)["report"]["sampleCount"].get<int>(), 1000);
        EXPECT_LE((*journal)["series"]["buckets"].size(), c.maxBuckets);
        EXPECT_EQ((*journal)["daysRecorded"], 30);
        EXPECT_EQ((*journal)["storage"]["days"], 30);
    }
}

TEST_F(JournalCommand, BadArgumentsNameThemselves) {
    const std::vector<std::vector<std::string>> cases = {
        {"journal", "--day", "2025-13-01"},
        {"journal", "--range", "decade"},
        {"journal", "--day", "2025-11-20", "--range", "week"},
        {"journal", "--limit", "eighty"},
        {"journal", "--now", "1e300"},
    };
    for (const auto& args : cases) {
        const Outcome result = torvelctl(args);
        EXPECT_EQ(result.status, exitUsage) << args[1];
        EXPECT_NE(result.err.find(args[1]), std::string::npos) << result.err;
    }
}

}  // namespace
}  // namespace torvel::cli
