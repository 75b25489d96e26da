#include "history/history_model.h"

#include <gtest/gtest.h>

#include <QThread>
#include <fstream>

#include "common/dates.h"
#include "history/sample.h"
#include "history/store.h"
#include "qt_support.h"

namespace torvel::app {
namespace {

namespace fs = std::filesystem;
using testing::qtApp;
using testing::spinUntil;

// Mid-afternoon, so a day's worth of readings crosses midnight into yesterday's file.
constexpr double now = 1'763'900'000;

// A journal with a reading every ten minutes over the last `hours` hours.
void writeJournal(const fs::path& dir, double hours) {
    fs::create_directories(dir);
    for (double t = now - hours * 3600; t <= now + 0.5; t += 600) {
        const HistorySample sample{.date = t, .pct = 80, .state = "hold", .plugged = true, .temp = 31.0};
        std::ofstream(dir / *HistoryStore::dayFileName(t), std::ios::app)
            << JournalLine::encode(sample) << '\n';
    }
}

struct Journal {
    testing::TempDir dir;
    std::vector<QString> notices;
    std::unique_ptr<HistoryModel> model;

    explicit Journal(double hours) {
        qtApp();
        writeJournal(dir.path(), hours);
        model = std::make_unique<HistoryModel>(dir.path(), [] { return now; });
        QObject::connect(model.get(), &HistoryModel::journalReady,
                         [this](const QString& summary) { notices.push_back(summary); });
    }
    bool settle() {
        return spinUntil([this] { return model->reloadsInFlight() == 0; });
    }
};

TEST(HistoryModel, TheJournalIsAnnouncedOnlyOnceADayOfReadingsIsIn) {
    struct Case {
        double hours;
        bool announced;
    };
    for (const Case c : {Case{0, false}, Case{22.8, false}, Case{23.0, true}, Case{26, true}}) {
        Journal journal(c.hours);
        journal.model->refresh(45);
        ASSERT_TRUE(journal.settle());
        EXPECT_EQ(!journal.notices.empty(), c.announced) << c.hours << " h";
        if (c.announced) {
            EXPECT_FALSE(journal.notices[0].isEmpty());
        }
    }
}

TEST(HistoryModel, ReloadsPublishOnTheMainThreadWithTheSettingsThermalLimit) {
    Journal journal(26);
    int todayChanges = 0;
    QObject::connect(journal.model.get(), &HistoryModel::todayChanged, [&] {
        EXPECT_EQ(QThread::currentThread(), qtApp().thread());
        ++todayChanges;
    });
    journal.model->refresh(45);
    ASSERT_TRUE(journal.settle());
    EXPECT_EQ(todayChanges, 1);
    EXPECT_EQ(journal.model->today().thermalLimit, 45);
    EXPECT_TRUE(journal.model->hasToday());
    EXPECT_GE(journal.model->sparklineHours(), 23.0);
    EXPECT_EQ(journal.model->daysRecorded(), 2);
    ASSERT_TRUE(journal.model->rangeView().has_value());
}

TEST(HistoryModel, SwitchingTheRangeReloadsOnlyTheRange) {
    Journal journal(26);
    journal.model->refresh(40);
    ASSERT_TRUE(journal.settle());
    int todayChanges = 0;
    int rangeReloads = 0;
    QObject::connect(journal.model.get(), &HistoryModel::todayChanged, [&] { ++todayChanges; });
    QObject::connect(journal.model.get(), &HistoryModel::rangeReloaded, [&] { ++rangeReloads; });

    journal.model->setRangeName(QStringLiteral("week"));
    ASSERT_TRUE(journal.settle());
    EXPECT_EQ(journal.model->range(), HistoryModel::Range::week);
    EXPECT_EQ(rangeReloads, 1);
    EXPECT_EQ(todayChanges, 0);
    EXPECT_EQ(journal.model->rangeView()->series.buckets.empty(), false);

    journal.model->setRangeName(QStringLiteral("fortnight"));
    EXPECT_EQ(journal.model->range(), HistoryModel::Range::week) << "an unknown range name changes nothing";
}

}  // namespace
}  // namespace torvel::app
