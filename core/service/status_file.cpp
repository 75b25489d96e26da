#include "service/status_file.h"

namespace torvel {

std::optional<ChargeState> ServiceStatus::state() const {
    return freshness == Freshness::fresh ? published.state : std::nullopt;
}

std::string_view ServiceStatus::stateWord() const {
    if (freshness == Freshness::stale) return "stale";
    if (freshness != Freshness::fresh) return "unknown";
    if (published.state) return word(*published.state);
    return published.otherState ? std::string_view(*published.otherState) : "unknown";
}

void refreshStatus(ServiceStatus& status, std::optional<std::string_view> fileBytes, double now,
                   bool daemonInstalled) {
    auto file = fileBytes ? PublishedStatus::decode(*fileBytes) : std::nullopt;
    if (!file) {
        status.freshness = ServiceStatus::Freshness::unreadable;
        return;
    }
    const bool fresh = file->ts && now - *file->ts <= statusFreshSeconds;
    status.freshness = fresh ? ServiceStatus::Freshness::fresh : ServiceStatus::Freshness::stale;
    if (!fresh) file->gateVerified.reset();
    if (!fresh || !daemonInstalled) {
        file->daemonVersion.reset();
        file->startedAt.reset();
        file->daemonPath.reset();
    }
    status.published = std::move(*file);
}

bool followCalibrate(bool calibrate, std::optional<double> calibrateAskedAt, const CalibrationStatus& cal,
                     double now) {
    if (calibrateAskedAt && now - *calibrateAskedAt <= calibrateGraceSeconds) return calibrate;
    return cal.phase != CalibrationStatus::Phase::idle;
}

}  // namespace torvel
