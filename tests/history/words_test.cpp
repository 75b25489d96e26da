#include "history/words.h"

#include <gtest/gtest.h>

#include "common/fmt.h"
#include "history_support.h"

namespace torvel {
namespace {

using Range = HistoryPlan::Range;
using testing::march7;
using testing::report;

// Restores the display locale whatever a test sets.
struct LocaleScope {
    explicit LocaleScope(const char* id) { Fmt::useLocale(id); }
    ~LocaleScope() { Fmt::useLocale("en"); }
};

TEST(DayWords, ProtectedTotalInHoursThenDays) {
    const std::pair<double, const char*> cases[] = {
        {172'800, "2d 0h"},      {169'200, "47h 0 min"}, {59, "0h 0 min"},   {18'720, "5h 12 min"},
        {18'779.9, "5h 12 min"}, {273'600, "3d 4h"},     {176'399, "2d 0h"},
    };
    for (const auto& [seconds, text] : cases) EXPECT_EQ(DayWords::protectedTotal(seconds), text) << seconds;
}

TEST(DayWords, NarrativeSentences) {
    const std::tuple<const char*, HistoryAnalysis::DayReport, std::optional<double>, const char*> cases[] = {
        {"en", report(1), 3599, "Friday, March 7. Waiting for readings."},
        {"en", report(0), std::nullopt, "Friday, March 7. Waiting for readings."},
        {"en", report(1), 3600,
         "Friday, March 7. Waiting for readings. In all, it has protected your battery for 1h 0 min."},
        {"en", report(2), std::nullopt, "Friday, March 7. Never at 100%."},
        {"en", report(2, 90, 41.25, 30), 18'720,
         "Friday, March 7. 1h 30 at 100%, peak at 41.2 °C. Torvel held your limit for 30 min. In all, it has "
         "protected your battery for 5h 12 min."},
        {"en", report(2, 45, std::nullopt, 5), 0, "Friday, March 7. 45 min at 100%."},
        {"en", report(2, 45, std::nullopt, 6), 0,
         "Friday, March 7. 45 min at 100%. Torvel held your limit for 6 min."},
        {"fr", report(2), std::nullopt, "Vendredi 7 mars. Never at 100%."},
        {"ja", report(1), std::nullopt, "3月7日金曜日。Waiting for readings。"},
        {"ja", report(2, 0, std::nullopt, 6), 7200,
         "3月7日金曜日。Never at 100%。Torvel held your limit for 6 min.In all, it has protected your "
         "battery for 2h 0 min."},
        {"ja", report(2, 60, 31.0), std::nullopt, "3月7日金曜日。1h at 100%, peak at 31.0 °C."},
    };
    for (const auto& [locale, r, protectedSeconds, expected] : cases) {
        LocaleScope scope(locale);
        EXPECT_EQ(DayWords::narrative(r, march7 + 3600, protectedSeconds), expected);
    }
}

TEST(RangeWords, MonthAndYearWordingsOnlyForTheirRanges) {
    const std::tuple<HistoryAnalysis::DayReport, const char*, const char*, const char*> cases[] = {
        {report(1, 500, 50.0), "Not enough readings yet", "Not enough readings yet",
         "Not enough readings yet"},
        {report(2, 30, 50.0), "A week too often at full charge", "A month too often at full charge",
         "A year too often at full charge"},
        {report(2, 29, 40.0), "A hot week for the battery", "A hot month for the battery",
         "A hot year for the battery"},
        {report(2, 29, 39.9), "A calm week for the battery", "A calm month for the battery",
         "A calm year for the battery"},
        {report(2), "A calm week for the battery", "A calm month for the battery",
         "A calm year for the battery"},
    };
    for (const auto& [r, week, month, year] : cases) {
        EXPECT_EQ(RangeWords::headline(r, Range::day), week) << "a day is worded as a week";
        EXPECT_EQ(RangeWords::headline(r, Range::week), week);
        EXPECT_EQ(RangeWords::headline(r, Range::month), month);
        EXPECT_EQ(RangeWords::headline(r, Range::year), year);
    }
}

TEST(JournalCaption, FullChargeAndPeakJoinedByAMiddleDot) {
    const std::pair<HistoryAnalysis::DayReport, const char*> cases[] = {
        {report(1, 60, 36.0), "Waiting for readings"},
        {report(2), "0 min at 100%"},
        {report(2, 120, 35.96), "2h at 100% · peak 36.0 °C"},
        {report(2, 61), "1h 1 at 100%"},
    };
    for (const auto& [r, text] : cases) EXPECT_EQ(JournalCaption::text(r), text);
}

TEST(HistoryModelDayTitle, LocalisedTemplateWithACapital) {
    const std::pair<const char*, const char*> cases[] = {{"en", "Friday, March 7"},
                                                         {"fr", "Vendredi 7 mars"},
                                                         {"de", "Freitag, 7. März"},
                                                         {"ja", "3月7日金曜日"}};
    for (const auto& [locale, title] : cases) {
        LocaleScope scope(locale);
        EXPECT_EQ(HistoryPlan::dayTitle(march7 + 86'399), title) << locale;
    }
}

}  // namespace
}  // namespace torvel
