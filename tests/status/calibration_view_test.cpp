#include "status/calibration_view.h"

#include <gtest/gtest.h>

namespace torvel {
namespace {

using Phase = CalibrationStatus::Phase;

TEST(CalibrationView, ProgressThroughEachStep) {
    struct Case {
        Phase phase;
        std::int64_t charge;
        std::optional<double> progress;
    };
    const Case cases[] = {
        {Phase::idle, 50, std::nullopt}, {Phase::fill, 40, 0.4},   {Phase::drain, 100, 0.0},
        {Phase::drain, 57, 43 / 85.0},   {Phase::drain, 10, 1.0},  // past the low point, not past the end
        {Phase::refill, 57, 42 / 85.0},  {Phase::soak, 100, 0.25}, {Phase::restore, 90, std::nullopt},
    };
    for (const auto& c : cases) {
        CalibrationStatus cal;
        cal.phase = c.phase;
        cal.soakBanked = 900;
        const auto progress = CalibrationView::progress(cal, c.charge);
        ASSERT_EQ(progress.has_value(), c.progress.has_value()) << c.phase.wireWord();
        if (progress) {
            EXPECT_DOUBLE_EQ(*progress, *c.progress) << c.phase.wireWord() << " " << c.charge;
        }
    }
}

TEST(CalibrationView, StartNeedsTheServiceAndAForcedDischarge) {
    ChargeSettingsState state;
    EXPECT_EQ(CalibrationView::blocked(state), "The charge service isn’t reachable, so a sweep can’t start.");
    state.daemonInstalled = true;
    EXPECT_EQ(CalibrationView::blocked(state), std::nullopt);
    state.status.published.dischargeSupported = false;
    EXPECT_EQ(CalibrationView::blocked(state),
              "This machine can’t run its battery down while plugged in, which a sweep needs.");
}

TEST(CalibrationView, ARunReadsAsDateCapacityAndShareOfDesign) {
    CalibrationStatus::Run run{.at = 1741348800,
                               .beforeRaw = 5612,
                               .afterRaw = 5489,
                               .afterNominal = {},
                               .design = 5800,
                               .cyclesAfter = {}};
    auto line = CalibrationView::line(run);
    EXPECT_EQ(line.date, "Mar 7, 2025");
    EXPECT_EQ(line.capacity, "5489 mAh");
    EXPECT_EQ(line.share, "95%");
    run.design.reset();
    run.afterRaw.reset();
    line = CalibrationView::line(run);
    EXPECT_EQ(line.capacity, std::nullopt);
    EXPECT_EQ(line.share, std::nullopt);
}

}  // namespace
}  // namespace torvel
