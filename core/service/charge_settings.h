#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "service/service_state.h"
#include "service/settings.h"
#include "service/status_file.h"

namespace torvel {

// Where this copy of Torvel stands, as far as deciding the service's state needs.
struct InstallationFacts {
    std::string ownDaemonPath;
    bool ownCopyInApplications = false;
    std::optional<std::string> appVersion;
    std::optional<std::string> uninstallerPath;  // the hand uninstall script this copy ships, if any
};

// Where a packaged service runs from.
inline constexpr const char* installedDaemonPath = "/usr/libexec/torvel/torvel-daemon";

// Whether `path` (symlinks resolved) belongs to a packaged install rather than a build tree or a copy
// elsewhere: only a packaged copy owns the service and may take it back from any other.
bool isInstalledCopy(const std::filesystem::path& path);

// Where this copy keeps its service executable and the install helpers, seen from the folder of the running
// program: libexec/torvel beside bin once installed, daemon/ beside app/ or cli/ in a build tree.
std::filesystem::path serviceToolsDirectory(const std::filesystem::path& programDirectory);

// Everything the charge-settings model publishes, as one value: the user's settings, the service's last
// status and the installation flags. The app's model and torvelctl both hold one and derive from it.
struct ChargeSettingsState {
    Settings settings;
    ServiceStatus status;
    bool daemonInstalled = false;
    bool serviceNeedsApproval = false;
    bool serviceNeedsMigration = false;
    std::optional<std::string> writeError;
    std::optional<std::string> serviceError;
    bool migrating = false;
    bool migrationFallback = false;

    // The service cannot hold below the machine's own floor, so that is the level really held.
    int heldLimit() const;
    bool canReachService() const { return daemonInstalled && !writeError; }

    ServiceFacts serviceFacts(const InstallationFacts& installation) const;
    ServiceState serviceState(const InstallationFacts& installation) const;

    bool operator==(const ChargeSettingsState&) const = default;
};

}  // namespace torvel
