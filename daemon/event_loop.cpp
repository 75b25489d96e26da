#include "event_loop.h"

#include <signal.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-device.h>
#include <systemd/sd-event.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <optional>

#include "bus/authoriser.h"
#include "bus/bus_service.h"
#include "charge_service.h"
#include "common/syscalls.h"
#include "device/sysfs_device.h"

namespace torvel::daemon {
namespace {

Instant wallClock() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Time spent suspended: the gap between the boot clock (which counts sleep) and the monotonic one.
double sleptSeconds() {
    timespec boot{}, mono{};
    clock_gettime(CLOCK_BOOTTIME, &boot);
    clock_gettime(CLOCK_MONOTONIC, &mono);
    return static_cast<double>(boot.tv_sec - mono.tv_sec) +
           static_cast<double>(boot.tv_nsec - mono.tv_nsec) / 1e9;
}

class Loop final : public BusCommands {
  public:
    Loop(const RunOptions& options, sd_event* event)
        : options_(options),
          event_(event),
          device_(options.paths.powerSupply),
          service_(options.paths, device_, {options.version, options.executablePath}, wallClock()),
          slept_(sleptSeconds()) {}

    void tick() {
        const double slept = sleptSeconds();
        // Firmware that forgets thresholds over a suspend is set right on the first tick after it.
        if (slept - slept_ > 2) {
            slept_ = slept;
            service_.log(wallClock(), "resumed");
            service_.reapply(wallClock());
            return;
        }
        service_.tick(wallClock());
    }
    void reapply() { service_.reapply(wallClock()); }
    void shutdown() { service_.shutdown(wallClock()); }
    void log(std::string_view text) { service_.log(wallClock(), text); }
    bool restartRequested() const { return restart_; }

    CallReply applySettings(std::string_view message) override {
        return service_.applySettings(message, wallClock());
    }
    CallReply purgeAllData() override { return service_.purgeAllData(wallClock()); }
    CallReply releaseCharge() override { return service_.releaseCharge(wallClock()); }
    void restart() override {
        restart_ = true;
        sd_event_exit(event_, 0);
    }

    const RunOptions& options_;

  private:
    sd_event* event_;
    SysfsDevice device_;
    ChargeService service_;
    double slept_;
    bool restart_ = false;
};

int onTimer(sd_event_source* source, std::uint64_t, void* userdata) {
    auto* loop = static_cast<Loop*>(userdata);
    loop->tick();
    std::uint64_t now = 0;
    sd_event_now(sd_event_source_get_event(source), CLOCK_MONOTONIC, &now);
    sd_event_source_set_time(source, now + static_cast<std::uint64_t>(loop->options_.tickSeconds * 1e6));
    sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
    return 0;
}

int onDevice(sd_device_monitor*, sd_device*, void* userdata) {
    // Any change of a supply (mains plugged, battery added) may have reset the firmware's thresholds.
    static_cast<Loop*>(userdata)->reapply();
    return 0;
}

int onStopSignal(sd_event_source* source, const signalfd_siginfo*, void*) {
    sd_event_exit(sd_event_source_get_event(source), 0);
    return 0;
}

}  // namespace

RunEnd runService(const RunOptions& options) {
    sd_event* event = nullptr;
    if (sd_event_new(&event) < 0) return RunEnd::failed;

    sigset_t stops;
    sigemptyset(&stops);
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&stops, signal);
    sigprocmask(SIG_BLOCK, &stops, nullptr);
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        sd_event_add_signal(event, nullptr, signal, onStopSignal, nullptr);

    RunEnd end = RunEnd::stopped;
    {
        Loop loop(options, event);
        loop.reapply();

        sd_bus* bus = nullptr;
        std::optional<Authoriser> authoriser;
        std::optional<BusService> busService;
        // Without a bus the service still holds the limit from config.json; only the remote calls are lost.
        if (int result = sd_bus_open_system(&bus); result < 0) {
            loop.log(systemError("connect to", "the system bus", -result));
            bus = nullptr;
        } else {
            sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL);
            authoriser.emplace(bus, ::geteuid());
            busService.emplace(bus, loop, *authoriser);
            if (auto error = busService->start()) loop.log(*error);
        }

        sd_device_monitor* monitor = nullptr;
        // A simulated tree gets no kernel events; the timer is how its changes are seen.
        if (options.paths.powerSupply == "/sys/class/power_supply") {
            if (sd_device_monitor_new(&monitor) >= 0) {
                sd_device_monitor_filter_add_match_subsystem_devtype(monitor, "power_supply", nullptr);
                sd_device_monitor_attach_event(monitor, event);
                if (sd_device_monitor_start(monitor, onDevice, &loop) < 0) {
                    loop.log("power-supply events are not available; checking on the timer only");
                }
            }
        }

        sd_event_source* timer = nullptr;
        std::uint64_t now = 0;
        sd_event_now(event, CLOCK_MONOTONIC, &now);
        // A second of slack lets the kernel batch this wake-up with others.
        sd_event_add_time(event, &timer, CLOCK_MONOTONIC,
                          now + static_cast<std::uint64_t>(options.tickSeconds * 1e6), 1000000, onTimer,
                          &loop);

        if (sd_event_loop(event) < 0) end = RunEnd::failed;
        if (loop.restartRequested()) end = RunEnd::restartRequested;

        loop.shutdown();
        sd_event_source_unref(timer);
        sd_device_monitor_unref(monitor);
        busService.reset();
        authoriser.reset();
        if (bus != nullptr) {
            sd_bus_flush(bus);
            sd_bus_close_unref(bus);
        }
    }
    sd_event_unref(event);
    sigprocmask(SIG_UNBLOCK, &stops, nullptr);
    return end;
}

}  // namespace torvel::daemon
