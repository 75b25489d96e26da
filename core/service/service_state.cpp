#include "service/service_state.h"

#include <algorithm>
#include <charconv>

#include "common/texts.h"

namespace torvel {
namespace {

bool present(const std::optional<std::string>& text) {
    return text && !text->empty();
}

std::string_view nextComponent(std::string_view& rest) {
    const auto dot = rest.find('.');
    const std::string_view component = rest.substr(0, dot);
    rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 1);
    return component;
}

// Components compare as numbers when both are all digits (leading zeros ignored), else as text.
int compareComponents(std::string_view a, std::string_view b) {
    const auto digits = [](std::string_view s) {
        return std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    if (digits(a) && digits(b)) {
        a.remove_prefix(std::min(a.find_first_not_of('0'), a.size()));
        b.remove_prefix(std::min(b.find_first_not_of('0'), b.size()));
        if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    }
    const int order = a.compare(b);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

}  // namespace

std::string_view name(ServiceState state) {
    switch (state) {
        case ServiceState::awaitingApproval:
            return "awaitingApproval";
        case ServiceState::notInstalled:
            return "notInstalled";
        case ServiceState::needsMigration:
            return "needsMigration";
        case ServiceState::elsewhereInApplications:
            return "elsewhereInApplications";
        case ServiceState::elsewhere:
            return "elsewhere";
        case ServiceState::outdated:
            return "outdated";
        case ServiceState::stale:
            return "stale";
        case ServiceState::unknown:
            return "unknown";
        case ServiceState::running:
            return "running";
    }
    return "unknown";
}

int compareVersions(std::string_view a, std::string_view b) {
    while (!a.empty() || !b.empty()) {
        // A missing component counts as zero, so "1.5" and "1.5.0" are the same version.
        std::string_view left = nextComponent(a);
        std::string_view right = nextComponent(b);
        if (left.empty()) left = "0";
        if (right.empty()) right = "0";
        if (const int order = compareComponents(left, right); order != 0) return order;
    }
    return 0;
}

bool serviceFromElsewhere(const ServiceFacts& facts) {
    // A copy that is not installed (a build tree) never runs its service where it is: the install helper
    // runs root's own copy of it from here, so the service there is this copy's.
    constexpr std::string_view helperCopy = "/usr/local/libexec/torvel/torvel-daemon";
    const bool ownHelperCopy = !facts.ownCopyInApplications && facts.daemonPath == helperCopy;
    return facts.daemonInstalled && !facts.serviceNeedsMigration && present(facts.daemonPath) &&
           *facts.daemonPath != facts.ownDaemonPath && !ownHelperCopy;
}

bool serviceOutdated(const ServiceFacts& facts) {
    return !facts.serviceNeedsMigration && facts.daemonInstalled && present(facts.daemonVersion) &&
           present(facts.appVersion) && compareVersions(*facts.daemonVersion, *facts.appVersion) != 0;
}

ServiceState serviceState(const ServiceFacts& facts) {
    if (facts.serviceNeedsApproval) return ServiceState::awaitingApproval;
    if (!facts.daemonInstalled) return ServiceState::notInstalled;
    if (facts.serviceNeedsMigration) return ServiceState::needsMigration;
    if (serviceFromElsewhere(facts)) {
        return facts.ownCopyInApplications ? ServiceState::elsewhereInApplications : ServiceState::elsewhere;
    }
    if (serviceOutdated(facts)) return ServiceState::outdated;
    if (facts.stale) return ServiceState::stale;
    if (!facts.state && !facts.otherState) return ServiceState::unknown;
    return ServiceState::running;
}

std::optional<std::string> migrationCommand(const std::optional<std::string>& uninstallerPath) {
    if (!uninstallerPath) return std::nullopt;
    return "sudo bash \"" + *uninstallerPath + "\" --keep-data";
}

std::string explainRegistrationError(long code, std::string_view description) {
    switch (code) {
        case 1:
            return tr(
                "macOS wouldn’t let Torvel install its helper. Torvel has to be in your Applications folder "
                "— "
                "and if you’ve just replaced it with a new version, quit Torvel, reopen it, and try once "
                "more.");
        case 2:
            return tr("Part of Torvel is missing. Download it again and try once more.");
        default:
            return std::string(description);
    }
}

std::string legacyServicePresentText() {
    return tr(
        "An earlier version of the charge service was installed by hand and is still running. It has to be "
        "removed before Torvel can install its own.");
}

std::optional<std::string> unitExecutable(std::string_view unitText) {
    std::optional<std::string> program;
    while (!unitText.empty()) {
        const auto end = unitText.find('\n');
        std::string_view line = unitText.substr(0, end);
        unitText = end == std::string_view::npos ? std::string_view() : unitText.substr(end + 1);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        constexpr std::string_view key = "ExecStart=";
        if (!line.starts_with(key)) continue;
        line.remove_prefix(key.size());
        line.remove_prefix(std::min(line.find_first_not_of("-@+!: \t"), line.size()));
        const std::string_view word = line.substr(0, line.find_first_of(" \t\r"));
        // An empty assignment resets the list; the last non-empty one is what runs.
        if (word.empty())
            program.reset();
        else
            program = std::string(word);
    }
    return program;
}

ServiceRegistration decideRegistration(ServiceRegistration::Status status, const UnitFiles& units) {
    ServiceRegistration registration;
    registration.status = status;
    registration.byHelper = units.helper.has_value();
    if (units.helper && units.package) {
        const auto helperRuns = unitExecutable(*units.helper);
        // A helper unit that runs the package's own daemon hides nothing worth migrating away from.
        registration.shadowsPackage = helperRuns != unitExecutable(*units.package);
    }
    return registration;
}

ServiceRoute installRoute(const ServiceRegistration& registration, bool hasInstaller) {
    return hasInstaller && registration.status == ServiceRegistration::Status::notFound
               ? ServiceRoute::helper
               : ServiceRoute::serviceManager;
}

ServiceRoute removalRoute(const ServiceRegistration& registration, bool hasUninstaller) {
    return hasUninstaller && registration.byHelper ? ServiceRoute::helper : ServiceRoute::serviceManager;
}

SyncDecision decideSync(const SyncInputs& inputs) {
    SyncDecision decision;
    const bool justInstalled = !inputs.wasInstalled && inputs.nowInstalled;
    decision.resendSettings = justInstalled && (inputs.settingsAwaitingService || inputs.hasWriteError);
    if (inputs.fromElsewhere) {
        // A copy outside the Applications folder must never take the service away from the one inside.
        decision.repoint = inputs.ownCopyInApplications && !inputs.triedRepoint;
        return decision;
    }
    decision.restart = inputs.outdated && !inputs.triedServiceRefresh;
    return decision;
}

}  // namespace torvel
