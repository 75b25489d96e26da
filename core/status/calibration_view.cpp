#include "status/calibration_view.h"

#include <algorithm>

#include "common/fmt.h"
#include "common/texts.h"
#include "extras/updater.h"

namespace torvel {

std::optional<std::string> CalibrationView::blocked(const ChargeSettingsState& state) {
    if (!state.canReachService()) return tr("The charge service isn’t reachable, so a sweep can’t start.");
    // The run-down has to happen in one go on the charger, which only a forced discharge can do.
    if (!state.status.published.dischargeSupported) {
        return tr("This machine can’t run its battery down while plugged in, which a sweep needs.");
    }
    return std::nullopt;
}

std::optional<double> CalibrationView::progress(const CalibrationStatus& cal, std::int64_t charge) {
    using Phase = CalibrationStatus::Phase;
    const double pct = static_cast<double>(std::clamp<std::int64_t>(charge, 0, 100));
    const double low = static_cast<double>(std::clamp<std::int64_t>(cal.drainTarget, 0, 99));
    std::optional<double> share;
    switch (static_cast<Phase::Value>(cal.phase)) {
        case Phase::fill:
            share = pct / 100;
            break;
        case Phase::drain:
            share = (100 - pct) / (100 - low);
            break;
        case Phase::refill:
            share = (pct - low) / (100 - low);
            break;
        case Phase::soak:
            share = cal.soakSeconds > 0 ? cal.soakBanked / cal.soakSeconds : 0;
            break;
        case Phase::idle:
        case Phase::restore:
            break;
    }
    if (share) share = std::clamp(*share, 0.0, 1.0);
    return share;
}

CalibrationView::RunLine CalibrationView::line(const CalibrationStatus::Run& run) {
    RunLine line;
    line.date = UpdateWords::mediumDate(run.at, Fmt::locale()).value_or("");
    if (run.afterRaw) line.capacity = tr("%1 mAh", {std::to_string(*run.afterRaw)});
    if (const auto pct = run.pct(run.afterRaw)) line.share = Fmt::percent(*pct);
    if (line.capacity && line.share) {
        line.measured = tr("%1 · %2 of design", {*line.capacity, *line.share});
    } else {
        line.measured = line.capacity.value_or(tr("Not measured"));
    }
    return line;
}

std::string CalibrationView::stepsTitle(int step, int count, bool running) {
    if (!running) return tr("The five steps");
    return tr("Step %1 of %2", {std::to_string(step), std::to_string(count)});
}

ViewWords CalibrationView::words() {
    return {
        {"done", tr("Done")},
        {"now", tr("Now")},
        {"lastSweep", tr("Your last sweep")},
        {"measure", tr("Measure what the battery holds")},
        {"intro",
         tr("A sweep takes the battery from full to nearly empty and back, so its gauge re-learns the real "
            "capacity.")},
        {"start", tr("Start a sweep")},
        {"stop", tr("Stop")},
        {"lastFailed", tr("The last sweep did not finish")},
        {"stepsFootnote",
         tr("A sweep takes most of a day: the run down goes at the pace of what the machine is "
            "doing. Keep it plugged in; you can stop at any step and the battery goes back to your "
            "limit.")},
        {"pastSweeps", tr("Past sweeps")},
        {"question", tr("Start a calibration sweep?")},
        {"cancel", tr("Cancel")},
        {"questionMessage",
         tr("Torvel charges to 100%, runs the battery down in one go with charging held off even "
            "while plugged in, then charges back to full. It takes most of a day; you can stop at "
            "any time.")},
        {"confirm", tr("Start")},
    };
}

}  // namespace torvel
