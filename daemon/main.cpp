// torvel-daemon: the charge service, or with --probe --json a one-shot report of what this machine allows.

#include <unistd.h>

#include <cstring>
#include <iostream>
#include <string>

#include "common/syscalls.h"
#include "event_loop.h"
#include "probe.h"

namespace {

constexpr const char* usage = R"(Usage: torvel-daemon [--probe --json | --version | --help]

Without arguments, runs the charge service: holds the charge limit of config.json, publishes
status.json and the journal, and answers com.torvel.Daemon1 on the system bus.

  --probe --json   print what this machine lets the service control, as JSON, and exit
  --version        print the version and exit

Environment: TORVEL_ROOT prefixes every file path, TORVEL_SYSFS replaces /sys/class/power_supply,
DBUS_SYSTEM_BUS_ADDRESS chooses the bus.
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
    if (end == torvel::daemon::RunEnd::restartRequested) {
        // The same process image afresh: new code after an update, a clean state otherwise.
        ::execv("/proc/self/exe", argv);
        std::cerr << "torvel-daemon: " << torvel::systemError("restart", {}, errno) << "\n";
        return 1;
    }
    return end == torvel::daemon::RunEnd::failed ? 1 : 0;
}
