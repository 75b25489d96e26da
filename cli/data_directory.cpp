#include "data_directory.h"

#include <chrono>
#include <filesystem>

#include "bus.h"
#include "common/files.h"
#include "common/texts.h"
#include "options.h"
#include "systemd_units.h"

namespace torvel::cli {

DataDirectoryState loadDataDirectory(const Paths& paths, double now, bool serviceInstalled) {
    DataDirectoryState state;
    ChargeSettingsState& s = state.settings;
    s.daemonInstalled = serviceInstalled;
    // Only a unit that hides the package's counts here; whether it is enabled came from the caller.
    s.serviceNeedsMigration =
        decideRegistration(ServiceRegistration::Status::notFound, client::readUnitFiles(paths.root))
            .needsMigration();
    s.daemonInstalled = s.daemonInstalled || s.serviceNeedsMigration;

    if (const auto config = readWholeFile(paths.config);
        const auto* bytes = std::get_if<std::string>(&config)) {
        s.settings = loadSettings(*bytes, s.settings);
    }
    const auto statusFile = readWholeFile(paths.status);
    const auto* statusBytes = std::get_if<std::string>(&statusFile);
    refreshStatus(s.status, statusBytes ? std::optional<std::string_view>(*statusBytes) : std::nullopt, now,
                  s.daemonInstalled);
    s.settings.calibrate = followCalibrate(s.settings.calibrate, std::nullopt, s.status.published.cal, now);

    state.installation = InstallationFacts{
        .ownDaemonPath = installedDaemonPath,
        .ownCopyInApplications = isInstalledCopy(installedDaemonPath),
        .appVersion = TORVEL_VERSION,
        .uninstallerPath = std::nullopt,
    };
    return state;
}

bool serviceUnitEnabled() {
    const auto bus = client::Bus::system();
    return client::SystemdUnits(*bus).status() == ServiceRegistration::Status::enabled;
}

std::optional<std::string> parseServiceInstalled(const std::optional<std::string>& value, bool& installed) {
    if (!value) {
        installed = serviceUnitEnabled();
        return std::nullopt;
    }
    if (*value == "yes") {
        installed = true;
    } else if (*value == "no") {
        installed = false;
    } else {
        return badValue("--service-installed", *value, tr("yes or no"));
    }
    return std::nullopt;
}

std::optional<std::string> parseNow(const Options& options, double& now) {
    now = wallClock();
    const auto text = options.value("--now");
    if (!text) return std::nullopt;
    const auto seconds = parseNumber(*text);
    if (!seconds) return badValue("--now", *text, tr("seconds since 1970"));
    now = *seconds;
    return std::nullopt;
}

double wallClock() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace torvel::cli
