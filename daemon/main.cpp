// torvel-daemon: the charge service, or with --probe --json a one-shot report of what this machine allows.

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "common/syscalls.h"
#include "device/sysfs_device.h"
#include "event_loop.h"
#include "probe.h"
#include "thresholds_record.h"

namespace {

constexpr const char* usage = R"(Usage: torvel-daemon [--probe --json | --hand-back | --record-thresholds |
                     --restore-thresholds | --version | --help]

Without arguments, runs the charge service: holds the charge limit of config.json, publishes
status.json and the journal, and answers com.torvel.Daemon1 on the system bus.

  --probe --json         print what this machine lets the service control, as JSON, and exit
  --hand-back            set every battery's charge_behaviour back to auto unless it reads auto
                         (the unit's ExecStopPost= step: a killed service never leaves the charger
                         forced)
  --record-thresholds    note every battery's charge thresholds, unless a note is there already
                         (the installers run it before the service first starts)
  --restore-thresholds   put the noted thresholds back, charge_behaviour to auto, and drop the
                         note (the uninstallers run it once the service has stopped)
  --version              print the version and exit

Environment: TORVEL_ROOT prefixes every file path, TORVEL_SYSFS replaces /sys/class/power_supply,
DBUS_SYSTEM_BUS_ADDRESS chooses the bus. SIGHUP reads config.json again. Exit status 75 after
Restart asks systemd for a fresh start; 1 when another instance runs or the service failed.
)";

std::string executablePath() {
    char buffer[4096];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
}

}  // namespace

int main(int argc, char** argv) {
    const torvel::Paths paths = torvel::Paths::fromProcessEnvironment();
    if (argc == 3 && std::strcmp(argv[1], "--probe") == 0 && std::strcmp(argv[2], "--json") == 0) {
        std::cout << torvel::daemon::probeJson(paths.powerSupply) << "\n";
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--hand-back") == 0) {
        if (auto error = torvel::daemon::handBack(paths.powerSupply)) {
            std::cerr << "torvel-daemon: " << *error << "\n";
            return 1;
        }
        return 0;
    }
    const bool record = argc == 2 && std::strcmp(argv[1], "--record-thresholds") == 0;
    if (record || (argc == 2 && std::strcmp(argv[1], "--restore-thresholds") == 0)) {
        const auto report =
            record ? torvel::daemon::recordThresholds(paths) : torvel::daemon::restoreThresholds(paths);
        for (const auto& line : report.done) std::cout << "torvel-daemon: " << line << "\n";
        for (const auto& line : report.failures) std::cerr << "torvel-daemon: " << line << "\n";
        return report.failures.empty() ? 0 : 1;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::cout << TORVEL_VERSION << "\n";
        return 0;
    }
    if (argc != 1) {
        std::cerr << usage;
        return argc == 2 && std::strcmp(argv[1], "--help") == 0 ? 0 : 2;
    }

    const std::string self = executablePath();
    const auto end = torvel::daemon::runService({paths, TORVEL_VERSION, self});
    switch (end) {
        case torvel::daemon::RunEnd::stopped:
            return 0;
        case torvel::daemon::RunEnd::restartRequested:
            // Under systemd the unit starts the installed binary again on this status; run by hand, the
            // installed file is started in our place (not /proc/self/exe, which is the old image after an
            // update).
            if (std::getenv("INVOCATION_ID") == nullptr && !self.empty()) {
                std::string installed = self;
                if (installed.ends_with(" (deleted)")) installed.resize(installed.size() - 10);
                ::execv(installed.c_str(), argv);
                std::cerr << "torvel-daemon: " << torvel::systemError("restart", {}, errno) << "\n";
                return 1;
            }
            return torvel::daemon::restartExitStatus;
        case torvel::daemon::RunEnd::failed:
        case torvel::daemon::RunEnd::alreadyRunning:
            return 1;
    }
    return 1;
}
