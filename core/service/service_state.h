#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "service/charge_state.h"

namespace torvel {

// The charge service's situation in one word for the pages, decided in this order: the first case that
// holds wins, so a service awaiting approval is reported as such although it is not yet installed.
enum class ServiceState {
    awaitingApproval,
    notInstalled,
    needsMigration,
    elsewhereInApplications,
    elsewhere,
    outdated,
    stale,
    unknown,
    running,
};

std::string_view name(ServiceState state);

// The published facts the decision reads.
struct ServiceFacts {
    bool serviceNeedsApproval = false;
    bool daemonInstalled = false;
    bool serviceNeedsMigration = false;
    bool stale = false;                        // the status file was left behind by a stopped service
    std::optional<ChargeState> state;          // from a fresh status file
    bool otherState = false;                   // a fresh file names a state this version does not know
    std::optional<std::string> daemonPath;     // from a fresh status file
    std::optional<std::string> daemonVersion;  // from a fresh status file
    std::string ownDaemonPath;                 // the service executable this copy ships
    bool ownCopyInApplications = false;        // this copy lives where it may take the service back
    std::optional<std::string> appVersion;     // this copy's short version, when known
};

// The running service was started from another copy's executable.
bool serviceFromElsewhere(const ServiceFacts& facts);
// The running service reports a version other than this copy's.
bool serviceOutdated(const ServiceFacts& facts);
ServiceState serviceState(const ServiceFacts& facts);

// Numeric, component-wise: "1.4" < "1.5", "1.5" == "1.5.0", "1.10" > "1.9". Returns <0, 0 or >0.
int compareVersions(std::string_view a, std::string_view b);

// The service's registration as the service manager reports it (systemd's unit file state on Linux).
struct ServiceRegistration {
    enum class Status { notRegistered, enabled, requiresApproval, notFound };
    Status status = Status::notFound;
    bool legacyInstalled = false;   // a unit placed by hand with the old install script
    bool hasInstallScript = false;  // this copy still ships the hand install script

    bool installed() const { return status == Status::enabled || legacyInstalled; }
    // This copy installs only through the service manager, so a hand-installed service must go first.
    bool needsMigration() const { return legacyInstalled && !hasInstallScript; }
};

// `sudo bash "<uninstaller>" --keep-data`, or absent without an uninstaller.
std::optional<std::string> migrationCommand(const std::optional<std::string>& uninstallerPath);

// The user's words for a registration failure, by the error's code; `description` is the system's own text.
std::string explainRegistrationError(long code, std::string_view description);

// The refusal install() gives while a hand-installed service is still in place.
std::string_view legacyServicePresentText();

// What one reconciliation with the registration should set in motion. Each repair is tried at most once a
// run; afterwards the state stays visible for the pages to explain.
struct SyncInputs {
    bool wasInstalled = false;
    bool nowInstalled = false;
    bool settingsAwaitingService = false;
    bool hasWriteError = false;
    bool fromElsewhere = false;
    bool ownCopyInApplications = false;
    bool triedRepoint = false;
    bool outdated = false;
    bool triedServiceRefresh = false;
};

struct SyncDecision {
    bool resendSettings = false;  // the service just appeared and has not yet got the user's settings
    bool repoint = false;         // register again so the service runs this copy's executable
    bool restart = false;         // restart an outdated service so it runs the new version

    bool operator==(const SyncDecision&) const = default;
};

SyncDecision decideSync(const SyncInputs& inputs);

}  // namespace torvel
