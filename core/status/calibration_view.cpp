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
    return line;
}

}  // namespace torvel
