// torvel-simbattery: a simulated laptop battery as a power-supply tree, for running the real service
// without a real battery.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "battery_model.h"
#include "common/syscalls.h"
#include "sysfs_tree.h"

namespace {

constexpr const char* usage = R"(Usage: torvel-simbattery --dir DIR [options]

Keeps a power-supply tree (DIR/BAT0, DIR/AC) of plain files that move in accelerated time, for
torvel-daemon run with TORVEL_SYSFS=DIR. Writes to charge_control_start_threshold,
charge_control_end_threshold and charge_behaviour are obeyed as a driver would: rounded, clamped,
start <= end, unknown behaviours refused (a refused write is put back in the file).

Options:
  --dir DIR            the tree to keep (created when missing)
  --speed N            simulated seconds per real second (default 60)
  --percent P          charge at start (default 50)
  --unplugged          start on battery
  --step N             round thresholds to multiples of N (default 1)
  --min-end N          clamp the end threshold to at least N (default 0)
  --no-thresholds      offer only charge_behaviour
  --behaviours LIST    comma-separated charge_behaviour values (default auto,inhibit-charge,force-discharge;
                       empty for none)
  --no-cut             force-discharge is accepted but the charger keeps charging
  --no-temp            the battery has no temperature sensor
  --second-battery P   a second battery, BAT1, in a bay, charged P percent at start
  --energy-only        a fuel gauge that shows energy_now/energy_full and power_now only (no capacity)
  --usb-charger        the charger is a Type-C port without PD instead of an AC adapter
  --commands PATH      also read commands from this FIFO (created when missing)
  --help               this text

Commands, one per line on standard input or the FIFO:
  plug | unplug        connect or disconnect the charger
  heat C               add C degrees of extra heat (heat 0 to cool down)
  percent P            set the charge
  reset                firmware reset: thresholds 0/100 and behaviour auto
  speed N              change the speed
  quit                 stop
)";

volatile std::sig_atomic_t stopRequested = 0;
void requestStop(int) {
    stopRequested = 1;
}

struct Options {
    std::string dir;
    std::string commands;
    double speed = 60;
    torvel::sim::BatteryOptions battery;
    std::optional<double> secondPercent;
    torvel::sim::TreeShape shape;
    bool plugged = true;
};

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto next = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
        if (arg == "--help") {
            std::cout << usage;
            std::exit(0);
        } else if (arg == "--dir") {
            options.dir = next();
        } else if (arg == "--speed") {
            options.speed = std::stod(next());
        } else if (arg == "--percent") {
            options.battery.startPercent = std::stod(next());
        } else if (arg == "--unplugged") {
            options.plugged = false;
        } else if (arg == "--step") {
            options.battery.thresholdStep = std::stoi(next());
        } else if (arg == "--min-end") {
            options.battery.minEnd = std::stoi(next());
        } else if (arg == "--no-thresholds") {
            options.battery.endThreshold = false;
        } else if (arg == "--behaviours") {
            options.battery.behaviours.clear();
            std::stringstream list(next());
            for (std::string value; std::getline(list, value, ',');) {
                if (!value.empty()) options.battery.behaviours.push_back(value);
            }
        } else if (arg == "--no-cut") {
            options.battery.forceDischargeCuts = false;
        } else if (arg == "--no-temp") {
            options.battery.ambientCelsius.reset();
        } else if (arg == "--second-battery") {
            options.secondPercent = std::stod(next());
        } else if (arg == "--energy-only") {
            options.shape.energyOnly = true;
        } else if (arg == "--usb-charger") {
            options.shape.usbCharger = true;
        } else if (arg == "--commands") {
            options.commands = next();
        } else {
            std::cerr << "torvel-simbattery: unknown option " << arg << "\n" << usage;
            return false;
        }
    }
    if (options.dir.empty()) {
        std::cerr << "torvel-simbattery: --dir is required\n" << usage;
        return false;
    }
    return true;
}

using Batteries = std::vector<torvel::sim::SimulatedBattery*>;

// Every command but `percent` (the first battery's charge) goes to every battery.
bool run(const std::string& line, const Batteries& batteries, double& speed) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    double value = 0;
    const auto each = [&](auto action) {
        for (auto* battery : batteries) action(*battery);
    };
    if (command == "plug")
        each([](auto& battery) { battery.plug(true); });
    else if (command == "unplug")
        each([](auto& battery) { battery.plug(false); });
    else if (command == "heat" && words >> value)
        each([&](auto& battery) { battery.setExtraHeat(value); });
    else if (command == "percent" && words >> value)
        batteries.front()->setPercent(value);
    else if (command == "reset")
        each([](auto& battery) { battery.firmwareReset(); });
    else if (command == "speed" && words >> value)
        speed = value;
    else if (command == "quit")
        return false;
    else if (!command.empty())
        std::cerr << "torvel-simbattery: unknown command " << line << "\n";
    return true;
}

enum class Input { open, ended, quit };

// Runs whatever complete lines are waiting on `fd`, without blocking. At the end of the input its last,
// unterminated line counts too.
Input drain(int fd, std::string& pending, const Batteries& battery, double& speed) {
    char buffer[512];
    const ssize_t n = torvel::retryOnInterrupt([&] { return ::read(fd, buffer, sizeof buffer); });
    const bool ended = n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK);
    if (n > 0) pending.append(buffer, static_cast<std::size_t>(n));
    if (ended && !pending.empty() && pending.back() != '\n') pending += '\n';
    for (std::size_t end; (end = pending.find('\n')) != std::string::npos;) {
        const std::string line = pending.substr(0, end);
        pending.erase(0, end + 1);
        if (!run(line, battery, speed)) return Input::quit;
    }
    return ended ? Input::ended : Input::open;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        if (!parse(argc, argv, options)) return 2;
    } catch (const std::exception&) {
        std::cerr << "torvel-simbattery: a number was expected\n";
        return 2;
    }
    std::signal(SIGTERM, requestStop);
    std::signal(SIGINT, requestStop);

    torvel::sim::SimulatedBattery first(options.battery);
    torvel::sim::BatteryOptions bay = options.battery;
    bay.name = "BAT1";
    bay.startPercent = options.secondPercent.value_or(0);
    torvel::sim::SimulatedBattery second(bay);
    Batteries battery{&first};
    if (options.secondPercent) battery.push_back(&second);
    for (auto* each : battery) each->plug(options.plugged);
    torvel::sim::SysfsTree tree(options.dir, battery, options.shape);
    if (auto error = tree.create()) {
        std::cerr << "torvel-simbattery: " << *error << "\n";
        return 1;
    }

    torvel::FileDescriptor fifo;
    if (!options.commands.empty()) {
        ::mkfifo(options.commands.c_str(), 0600);
        // Read-write keeps the FIFO open when a writer comes and goes, so it never reaches its end.
        fifo.reset(::open(options.commands.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        if (!fifo.valid())
            std::cerr << "torvel-simbattery: " << torvel::systemError("open", options.commands, errno)
                      << "\n";
    }
    ::fcntl(STDIN_FILENO, F_SETFL, ::fcntl(STDIN_FILENO, F_GETFL) | O_NONBLOCK);

    // An ended or closed standard input stays readable for ever; watching it then would turn the wait below
    // into a busy loop, so it is dropped (poll skips a negative descriptor).
    int input = STDIN_FILENO;
    std::string stdinPending, fifoPending;
    auto last = std::chrono::steady_clock::now();
    std::size_t refusalsShown = 0;
    while (!stopRequested) {
        pollfd waits[2] = {{input, POLLIN, 0}, {fifo.get(), POLLIN, 0}};
        ::poll(waits, 2, 200);
        if (waits[0].revents & POLLNVAL) {
            input = -1;
        } else if (waits[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            const Input stdinState = drain(input, stdinPending, battery, options.speed);
            if (stdinState == Input::quit) break;
            if (stdinState == Input::ended) input = -1;
        }
        if ((waits[1].revents & POLLIN) &&
            drain(fifo.get(), fifoPending, battery, options.speed) == Input::quit)
            break;

        tree.absorbWrites();
        const auto now = std::chrono::steady_clock::now();
        for (auto* each : battery)
            each->advance(std::chrono::duration<double>(now - last).count() * options.speed);
        last = now;
        tree.publish();
        for (; refusalsShown < tree.refusals().size(); ++refusalsShown) {
            std::cerr << "torvel-simbattery: refused: " << tree.refusals()[refusalsShown] << "\n";
        }
    }
    return 0;
}
