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
    // A unit in /etc/systemd/system hides the package's own and runs another daemon than the package's:
    // what an install helper left before the package came.
    bool shadowsPackage = false;
    // The unit systemd runs was placed by an install helper rather than by the package.
    bool byHelper = false;

    bool installed() const { return status == Status::enabled || shadowsPackage; }
    // Only the package's unit can be kept up to date, so the shadowing one must go first.
    bool needsMigration() const { return shadowsPackage; }
};

// The two places a unit of the service can come from, as their texts (absent when there is no such file).
struct UnitFiles {
    std::optional<std::string> helper =
        std::nullopt;  // /etc/systemd/system, a regular file rather than an enable link
    std::optional<std::string> package =
        std::nullopt;  // /usr/lib/systemd/system (or /lib on an unmerged system)
};

// The program a unit's ExecStart= runs, without its arguments or the prefixes systemd allows ("-", "@",
// "+", "!", ":"); absent when the unit has none.
std::optional<std::string> unitExecutable(std::string_view unitText);

ServiceRegistration decideRegistration(ServiceRegistration::Status status, const UnitFiles& units);

// Which door an installation or a removal goes through: the install helper this copy ships (run with
// administrator rights), or the service manager acting on a unit that is already in place.
enum class ServiceRoute { helper, serviceManager };

// A unit the manager knows is switched on where it is; only with no unit at all does the helper place one,
// so a build never hides a package's unit behind its own.
ServiceRoute installRoute(const ServiceRegistration& registration, bool hasInstaller);
// The helper's unit goes with the helper, so nothing of it stays behind; a package's unit is only switched
// off.
ServiceRoute removalRoute(const ServiceRegistration& registration, bool hasUninstaller);

// `sudo bash "<uninstaller>" --keep-data`, or absent without an uninstaller.
std::optional<std::string> migrationCommand(const std::optional<std::string>& uninstallerPath);

// The user's words for a registration failure, by the error's code; `description` is the system's own text.
std::string explainRegistrationError(long code, std::string_view description);

// The refusal install() gives while a hand-installed service is still in place.
std::string legacyServicePresentText();

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
