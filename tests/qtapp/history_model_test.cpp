#include "history/history_model.h"

#include <gtest/gtest.h>

#include <QThread>

#include "history/sample.h"
#include "history/store.h"
#include "qt_support.h"

namespace torvel::app {
namespace {

using testing::qtApp;

// Mid-afternoon, so a day's worth of readings crosses midnight into yesterday's file.
constexpr double now = 1'763'900'000;

// A model over a journal with a reading every ten minutes over the last `hours` hours.
struct Journal {
    testing::TempDir dir;
    std::unique_ptr<HistoryModel> model;
    std::vector<QString> notices;
    int todayChanges = 0;
    int rangeReloads = 0;

    explicit Journal(double hours) {
        qtApp();
        for (double t = now - hours * 3600; t <= now + 0.5; t += 600) {
            std::ofstream(dir.path() / *HistoryStore::dayFileName(t), std::ios::app)
                << JournalLine::encode({t, 80, ChargeState::hold, true, 31.0}) << '\n';
        }
        model = std::make_unique<HistoryModel>(dir.path(), [] { return now; });
        QObject::connect(model.get(), &HistoryModel::journalReady,
                         [this](const QString& summary) { notices.push_back(summary); });
        QObject::connect(model.get(), &HistoryModel::todayChanged, [this] {
            EXPECT_EQ(QThread::currentThread(), qtApp().thread());
            ++todayChanges;
        });
        QObject::connect(model.get(), &HistoryModel::rangeReloaded, [this] { ++rangeReloads; });
    }
    bool settle() {
        return testing::spinUntil([this] { return model->reloadsInFlight() == 0; });
    }
};

TEST(HistoryModel, TheJournalIsAnnouncedOnlyOnceADayOfReadingsIsIn) {
    for (const auto& [hours, announced] :
         {std::pair{0.0, false}, std::pair{22.8, false}, std::pair{23.0, true}}) {
        Journal journal(hours);
        journal.model->refresh(45);
        ASSERT_TRUE(journal.settle());
        ASSERT_EQ(journal.notices.size(), announced ? 1u : 0u) << hours << " h";
        EXPECT_TRUE(!announced || !journal.notices[0].isEmpty()) << "the notice carries a summary";
    }
}

TEST(HistoryModel, ReloadsPublishOnTheMainThreadAndARangeSwitchReloadsOnlyTheRange) {
    Journal journal(26);
    journal.model->setRangeName(QStringLiteral("month"));
    journal.model->setRangeName(QStringLiteral("day"));
    EXPECT_EQ(journal.model->reloadsInFlight(), 0) << "a range chosen before the first refresh waits for it";
    journal.model->refresh(45);
    ASSERT_TRUE(journal.settle());
    EXPECT_EQ(journal.todayChanges, 1);
    EXPECT_EQ(journal.model->today().thermalLimit, 45);
    EXPECT_TRUE(journal.model->hasToday());
    EXPECT_GE(journal.model->sparklineHours(), 23.0);
    EXPECT_EQ(journal.model->daysRecorded(), 2);
    EXPECT_FALSE(journal.model->todayChart()->empty());
    EXPECT_EQ(journal.model->todayChart()->thermalLimit(), 45);
    const ChartSeries daySeries = journal.model->rangeChart()->series();

    const int rangeReloads = journal.rangeReloads;
    journal.model->setRangeName(QStringLiteral("week"));
    ASSERT_TRUE(journal.settle());
    EXPECT_EQ(journal.model->range(), HistoryModel::Range::week);
    EXPECT_EQ(journal.rangeReloads, rangeReloads + 1);
    EXPECT_EQ(journal.todayChanges, 1);
    ASSERT_TRUE(journal.model->rangeView().has_value());
    EXPECT_FALSE(journal.model->rangeView()->series.buckets.empty());
    EXPECT_EQ(journal.model->rangeChart()->series().buckets, journal.model->rangeView()->series.buckets);
    EXPECT_NE(journal.model->rangeChart()->series().start, daySeries.start) << "the chart follows the range";
    journal.model->setChargeLimit(75);
    EXPECT_EQ(journal.model->todayChart()->limit(), 75);
    EXPECT_EQ(journal.model->rangeChart()->limit(), 75);

    journal.model->setRangeName(QStringLiteral("fortnight"));
    EXPECT_EQ(journal.model->range(), HistoryModel::Range::week) << "an unknown range name changes nothing";
}

}  // namespace
}  // namespace torvel::app
