#include "service/charge_settings.h"

#include <algorithm>

namespace torvel {

int ChargeSettingsState::heldLimit() const {
    return std::max(settings.limit, status.nativeFloor.value_or(0));
}

ServiceFacts ChargeSettingsState::serviceFacts(const InstallationFacts& installation) const {
    return ServiceFacts{
        .serviceNeedsApproval = serviceNeedsApproval,
        .daemonInstalled = daemonInstalled,
        .serviceNeedsMigration = serviceNeedsMigration,
        .state = status.state,
        .daemonPath = status.daemonPath,
        .daemonVersion = status.daemonVersion,
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

}  // namespace torvel
