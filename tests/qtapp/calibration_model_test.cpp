#include "ui/calibration_model.h"

#include <gtest/gtest.h>

#include <QVariantMap>

#include "qt_support.h"

namespace torvel::app {
namespace {

using testing::Status;

constexpr const char* draining =
    R"("state":"discharge","pct":57,"cal":{"phase":"drain","drainTarget":15,"startedAt":1763890000,)"
    R"("runs":[{"at":1751364000,"beforeRaw":5612,"afterRaw":5489,"design":5800},)"
    R"({"at":1762596000,"beforeRaw":5470,"afterRaw":5431,"design":5800}]})";

TEST(CalibrationModel, TellsTheStepItsProgressAndThePastRuns) {
    testing::Rig rig(Status::enabled);
    rig.writeStatus(draining);
    CalibrationModel model(rig.make());
    EXPECT_EQ(model.phase(), CalibrationModel::Phase::Drain);
    EXPECT_TRUE(model.running());
    EXPECT_EQ(model.step(), 2);
    EXPECT_EQ(model.stepLabel(), "Run down to 15%");
    EXPECT_DOUBLE_EQ(model.progress(), 43 / 85.0);

    QStringList where;
    for (const QVariant& step : model.steps()) where << step.toMap().value("state").toString();
    EXPECT_EQ(where, QStringList({"done", "current", "ahead", "ahead", "ahead"}));

    ASSERT_EQ(model.runs().size(), 2);
    const QVariantMap newest = model.runs().front().toMap();
    EXPECT_EQ(newest.value("capacity").toString(), "5431 mAh");
    EXPECT_EQ(newest.value("share").toString(), "94%");
    EXPECT_EQ(model.verdict(), "The gauge had been reading over by 39 mAh.");
    EXPECT_FALSE(model.trend().isEmpty());
}

TEST(CalibrationModel, StartAndStopGoThroughTheSettingsAndRefuseWhenBlocked) {
    struct Case {
        const char* name;
        std::string status;
        bool saved;
    };
    const Case cases[] = {
        {"a service that can run down", R"("state":"hold")", true},
        {"a machine without forced discharge", R"("state":"hold","dischargeSupported":false)", false},
    };
    for (const auto& c : cases) {
        testing::Rig rig(Status::enabled);
        rig.writeStatus(c.status);
        ChargeSettingsModel& settings = rig.make();
        CalibrationModel model(settings);
        EXPECT_EQ(model.canStart(), c.saved) << c.name;
        EXPECT_EQ(model.blockedReason().isEmpty(), c.saved) << c.name;
        model.start();
        ASSERT_EQ(rig.fake.applies.size(), c.saved ? 1u : 0u) << c.name;
        if (!c.saved) continue;
        EXPECT_TRUE(rig.fake.applies[0].settings.calibrate);
        EXPECT_TRUE(model.requested());
        rig.fake.applies[0].done(std::nullopt);
        model.stop();
        ASSERT_EQ(rig.fake.applies.size(), 2u);
        EXPECT_FALSE(rig.fake.applies[1].settings.calibrate);
        EXPECT_FALSE(model.requested());
    }
}

}  // namespace
}  // namespace torvel::app
