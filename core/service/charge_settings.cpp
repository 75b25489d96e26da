#include "service/charge_settings.h"

#include <algorithm>

namespace torvel {

int ChargeSettingsState::heldLimit() const {
    // A driver that would not take the limit itself holds the value it took instead.
    if (const auto held = status.published.nativeLimit) return *held;
    return std::max(settings.limit, status.published.nativeFloor.value_or(0));
}

ServiceFacts ChargeSettingsState::serviceFacts(const InstallationFacts& installation) const {
    return ServiceFacts{
        .serviceNeedsApproval = serviceNeedsApproval,
        .daemonInstalled = daemonInstalled,
        .serviceNeedsMigration = serviceNeedsMigration,
        .stale = status.freshness == ServiceStatus::Freshness::stale,
        .state = status.state(),
        .otherState = status.freshness == ServiceStatus::Freshness::fresh && status.published.otherState,
        .daemonPath = status.published.daemonPath,
        .daemonVersion = status.published.daemonVersion,
        .ownDaemonPath = installation.ownDaemonPath,
        .ownCopyInApplications = installation.ownCopyInApplications,
        .appVersion = installation.appVersion,
    };
}

ServiceState ChargeSettingsState::serviceState(const InstallationFacts& installation) const {
    return torvel::serviceState(serviceFacts(installation));
}

bool isInstalledCopy(const std::filesystem::path& path) {
    std::error_code error;
    const auto resolved = std::filesystem::weakly_canonical(path, error);
    return !error && resolved.string().starts_with("/usr/");
}

std::filesystem::path serviceToolsDirectory(const std::filesystem::path& programDirectory) {
    std::error_code error;
    const auto installed = programDirectory / ".." / "libexec" / "torvel";
    if (std::filesystem::is_directory(installed, error))
        return std::filesystem::weakly_canonical(installed, error);
    return std::filesystem::weakly_canonical(programDirectory / ".." / "daemon", error);
}

}  // namespace torvel
