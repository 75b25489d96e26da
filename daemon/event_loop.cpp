#include "event_loop.h"

#include <fcntl.h>
#include <linux/netlink.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>

#include "bus/authoriser.h"
#include "bus/bus_service.h"
#include "bus/sleep_watch.h"
#include "charge_service.h"
#include "common/syscalls.h"
#include "device/sysfs_device.h"
#include "files/atomic_file.h"

namespace torvel::daemon {
namespace {

constexpr std::uint64_t microsPerSecond = 1000000;
// Power-supply events come in bursts (mains and battery together); one look after the last will do.
constexpr std::uint64_t eventSettleMicros = 50000;

// Time spent suspended: the gap between the boot clock (which counts sleep) and the monotonic one.
double sleptSeconds() {
    timespec boot{}, mono{};
    clock_gettime(CLOCK_BOOTTIME, &boot);
    clock_gettime(CLOCK_MONOTONIC, &mono);
    return static_cast<double>(boot.tv_sec - mono.tv_sec) +
           static_cast<double>(boot.tv_nsec - mono.tv_nsec) / 1e9;
}

void complain(std::string_view text) {
    std::cerr << "torvel-daemon: " << text << std::endl;
}

class Loop final : public BusCommands {
  public:
    Loop(const RunOptions& options, sd_event* event)
        : options_(options),
          event_(event),
          device_(options.paths.powerSupply),
          service_(options.paths, device_, {options.version, options.executablePath}, readClocks()),
          slept_(sleptSeconds()) {}

    void setTimer(sd_event_source* timer) { timer_ = timer; }

    // The timer's work: a look at the battery, then the next look planned by how much is moving.
    void onTimer() {
        if (reapplyWanted_) {
            reapplyWanted_ = false;
            service_.reapply(readClocks());
        } else {
            tick();
        }
        schedule(service_.settled() ? options_.settledTickSeconds : options_.busyTickSeconds);
    }
    // A power-supply event: look soon, and start afresh when a supply appeared.
    void wake(bool reapply) {
        reapplyWanted_ = reapplyWanted_ || reapply;
        std::uint64_t now = 0, due = 0;
        sd_event_now(event_, CLOCK_MONOTONIC, &now);
        sd_event_source_get_time(timer_, &due);
        if (due > now + eventSettleMicros) {
            sd_event_source_set_time_accuracy(timer_, 1000);
            sd_event_source_set_time(timer_, now + eventSettleMicros);
            sd_event_source_set_enabled(timer_, SD_EVENT_ONESHOT);
        }
    }
    void reapply() { service_.reapply(readClocks()); }
    void reload() { service_.reload(readClocks()); }
    void shutdown() { service_.shutdown(readClocks()); }
    void log(std::string_view text) { service_.log(readClocks(), text); }
    bool restartRequested() const { return restart_; }

    // logind's word that the machine goes to sleep (true) or has woken (false).
    void sleeping(bool going) {
        if (going) {
            service_.prepareForSleep(readClocks());
        } else {
            slept_ = sleptSeconds();
            service_.log(readClocks(), "resumed");
            service_.reapply(readClocks());
            schedule(options_.busyTickSeconds);
        }
    }

    bool needsAdministrator(const SettingsUpdate& update) const override {
        return service_.needsAdministrator(update);
    }
    CallReply applySettings(const SettingsUpdate& update) override {
        return service_.applySettings(update, readClocks());
    }
    CallReply purgeAllData() override { return service_.purgeAllData(readClocks()); }
    CallReply releaseCharge() override { return service_.releaseCharge(readClocks()); }
    void restart() override {
        restart_ = true;
        sd_event_exit(event_, 0);
    }

  private:
    void tick() {
        const double slept = sleptSeconds();
        // Firmware that forgets thresholds over a suspend is set right on the first tick after it, when
        // logind did not say so at once.
        if (slept - slept_ > 2) {
            slept_ = slept;
            service_.log(readClocks(), "resumed");
            service_.reapply(readClocks());
            return;
        }
        service_.tick(readClocks());
    }
    void schedule(double seconds) {
        std::uint64_t now = 0;
        sd_event_now(event_, CLOCK_MONOTONIC, &now);
        // A second of slack lets the kernel batch this wake-up with others.
        sd_event_source_set_time_accuracy(timer_, microsPerSecond);
        sd_event_source_set_time(timer_, now + static_cast<std::uint64_t>(seconds * 1e6));
        sd_event_source_set_enabled(timer_, SD_EVENT_ONESHOT);
    }

    const RunOptions& options_;
    sd_event* event_;
    sd_event_source* timer_ = nullptr;
    SysfsDevice device_;
    ChargeService service_;
    double slept_;
    bool restart_ = false;
    bool reapplyWanted_ = false;
};

int onTimer(sd_event_source*, std::uint64_t, void* userdata) {
    static_cast<Loop*>(userdata)->onTimer();
    return 0;
}

// The kernel's own uevents, not udev's rebroadcast: those stay in the host's network namespace, while the
// kernel sends to every namespace, PrivateNetwork= included.
int openKernelEvents() {
    const int fd = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
    if (fd < 0) return -1;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

int onKernelEvent(sd_event_source*, int fd, std::uint32_t, void* userdata) {
    bool relevant = false;
    bool added = false;
    char buffer[8192];
    for (;;) {
        sockaddr_nl sender{};
        iovec part{buffer, sizeof buffer - 1};
        msghdr message{};
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        const ssize_t n = ::recvmsg(fd, &message, MSG_DONTWAIT);
        if (n <= 0) break;
        // Only the kernel speaks here (port 0); anything else is someone pretending.
        if (sender.nl_pid != 0) continue;
        const std::string_view text(buffer, static_cast<std::size_t>(n));
        if (text.find(std::string_view("\0SUBSYSTEM=power_supply\0", 25)) == std::string_view::npos) continue;
        relevant = true;
        added = added || text.starts_with("add@");
    }
    if (relevant) static_cast<Loop*>(userdata)->wake(added);
    return 0;
}

// A simulated tree sends no uevents; its files changing are the same news.
void watchTree(int fd, const Paths& paths) {
    constexpr std::uint32_t mask =
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_DELETE_SELF;
    inotify_add_watch(fd, paths.powerSupply.c_str(), mask);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(paths.powerSupply, error)) {
        if (entry.is_directory(error)) inotify_add_watch(fd, entry.path().c_str(), mask);
    }
}

struct TreeWatch {
    int fd;
    Paths paths;
    Loop* loop;
};

// The files of a simulated tree whose change the kernel would announce with a uevent (a charger plugged, the
// charge or the status moving, a battery in or out of its bay), and the sensor the heat pause waits on.
// The readings that drift all the time (charge_now, voltage_now) and our own writes are not news.
bool announced(std::string_view name) {
    for (std::string_view file : {"online", "status", "present", "capacity", "temp"}) {
        if (name == file) return true;
    }
    return false;
}

int onTreeEvent(sd_event_source*, int fd, std::uint32_t, void* userdata) {
    auto* watch = static_cast<TreeWatch*>(userdata);
    alignas(inotify_event) char buffer[4096];
    bool supplies = false;
    bool news = false;
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        for (ssize_t at = 0; at < n;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            const std::string_view name = event->len > 0 ? std::string_view(event->name) : std::string_view();
            if (event->mask & (IN_ISDIR | IN_DELETE_SELF | IN_IGNORED)) {
                supplies = true;
            } else if (announced(name)) {
                news = true;
            }
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
    if (supplies) watchTree(fd, watch->paths);
    if (supplies || news) watch->loop->wake(supplies);
    return 0;
}

// Start-up runs code the loop never runs again (option parsing, library constructors, the first look at
// the battery), and the kernel maps machine code in 64 KiB runs around each page used. Dropping the code
// pages now, and asking for them one at a time from here on, leaves resident only what the loop uses:
// about a megabyte less for a process that sits in memory all day. Only read-only code mappings are
// touched; their pages come back from the page cache when needed.
void shedStartupCode() {
    FILE* maps = std::fopen("/proc/self/maps", "re");
    if (maps == nullptr) return;
    char line[512];
    while (std::fgets(line, sizeof line, maps) != nullptr) {
        unsigned long start = 0, end = 0;
        char perms[5] = "";
        if (std::sscanf(line, "%lx-%lx %4s", &start, &end, perms) != 3) continue;
        if (std::strcmp(perms, "r-xp") != 0 || std::strchr(line, '/') == nullptr) continue;
        void* at = reinterpret_cast<void*>(start);
        ::madvise(at, end - start, MADV_RANDOM);
        ::madvise(at, end - start, MADV_DONTNEED);
    }
    std::fclose(maps);
}

int onStopSignal(sd_event_source* source, const signalfd_siginfo*, void*) {
    sd_event_exit(sd_event_source_get_event(source), 0);
    return 0;
}

int onReloadSignal(sd_event_source*, const signalfd_siginfo*, void* userdata) {
    static_cast<Loop*>(userdata)->reload();
    return 0;
}

// One service per state directory: two would fight over the thresholds and the files. The lock lives as
// long as the descriptor, so a crash releases it.
FileDescriptor lockStateDirectory(const Paths& paths) {
    if (auto error = ensureDirectory(paths.dataDirectory())) {
        complain(*error);
        return FileDescriptor();
    }
    FileDescriptor directory(retryOnInterrupt(
        [&] { return ::open(paths.dataDirectory().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!directory.valid()) {
        complain(systemError("open", paths.dataDirectory().string(), errno));
        return directory;
    }
    if (::flock(directory.get(), LOCK_EX | LOCK_NB) != 0) {
        complain(errno == EWOULDBLOCK ? "another instance is running (its state directory is locked)"
                                      : systemError("lock", paths.dataDirectory().string(), errno));
        directory.reset();
    }
    return directory;
}

}  // namespace

RunEnd runService(const RunOptions& options) {
    const FileDescriptor lock = lockStateDirectory(options.paths);
    if (!lock.valid()) return RunEnd::alreadyRunning;

    // The name before anything else: a second instance must leave without a single write.
    sd_bus* bus = nullptr;
    std::string busError;
    if (int result = sd_bus_open_system(&bus); result < 0) {
        busError = systemError("connect to", "the system bus", -result);
        bus = nullptr;
    } else if (result = sd_bus_request_name(bus, busName, 0); result < 0) {
        if (result == -EEXIST) {
            complain("another instance owns com.torvel.Daemon");
            sd_bus_flush_close_unref(bus);
            return RunEnd::alreadyRunning;
        }
        busError = systemError("own", busName, -result);
    }

    sd_event* event = nullptr;
    if (sd_event_new(&event) < 0) {
        sd_bus_flush_close_unref(bus);
        return RunEnd::failed;
    }
    // Keep-alives for WatchdogSec=, sent from the loop itself, so a loop that hangs stops sending them.
    sd_event_set_watchdog(event, 1);

    sigset_t handled;
    sigemptyset(&handled);
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&handled, signal);
    sigprocmask(SIG_BLOCK, &handled, nullptr);

    RunEnd end = RunEnd::stopped;
    {
        Loop loop(options, event);
        for (int signal : {SIGTERM, SIGINT})
            sd_event_add_signal(event, nullptr, signal, onStopSignal, nullptr);
        sd_event_add_signal(event, nullptr, SIGHUP, onReloadSignal, &loop);

        sd_event_source* timer = nullptr;
        std::uint64_t now = 0;
        sd_event_now(event, CLOCK_MONOTONIC, &now);
        sd_event_add_time(event, &timer, CLOCK_MONOTONIC,
                          now + static_cast<std::uint64_t>(options.busyTickSeconds * 1e6), microsPerSecond,
                          onTimer, &loop);
        sd_event_source_set_enabled(timer, SD_EVENT_ONESHOT);
        // The battery and the status beat go before any caller: a flood of calls must not keep them waiting.
        sd_event_source_set_priority(timer, SD_EVENT_PRIORITY_IMPORTANT);
        loop.setTimer(timer);
        loop.reapply();

        std::optional<Authoriser> authoriser;
        std::optional<BusService> busService;
        std::optional<SleepWatch> sleepWatch;
        // Without a bus the service still holds the limit from config.json; only the remote calls are lost.
        if (!busError.empty()) loop.log(busError);
        if (bus != nullptr) {
            sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL);
            authoriser.emplace(bus, ::geteuid());
            busService.emplace(bus, loop, *authoriser);
            if (auto error = busService->start(false)) loop.log(*error);
            sleepWatch.emplace(bus, [&loop](bool going) { loop.sleeping(going); });
            if (auto error = sleepWatch->start()) loop.log(*error);
        }

        sd_event_source* events = nullptr;
        FileDescriptor eventFd;
        std::optional<TreeWatch> treeWatch;
        if (options.paths.powerSupply == "/sys/class/power_supply") {
            eventFd = FileDescriptor(openKernelEvents());
            if (!eventFd.valid() ||
                sd_event_add_io(event, &events, eventFd.get(), EPOLLIN, onKernelEvent, &loop) < 0) {
                loop.log("power-supply events are not available; checking on the timer only");
            }
        } else {
            eventFd = FileDescriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
            treeWatch.emplace(TreeWatch{eventFd.get(), options.paths, &loop});
            if (eventFd.valid()) {
                watchTree(eventFd.get(), options.paths);
                sd_event_add_io(event, &events, eventFd.get(), EPOLLIN, onTreeEvent, &*treeWatch);
            }
        }

        shedStartupCode();
        if (sd_event_loop(event) < 0) end = RunEnd::failed;
        if (loop.restartRequested()) end = RunEnd::restartRequested;

        sd_notify(0, "STOPPING=1");
        loop.shutdown();
        sd_event_source_unref(events);
        sd_event_source_unref(timer);
        sleepWatch.reset();
        busService.reset();
        authoriser.reset();
        if (bus != nullptr) sd_bus_flush(bus);
    }
    sd_bus_close_unref(bus);
    sd_event_unref(event);
    sigprocmask(SIG_UNBLOCK, &handled, nullptr);
    return end;
}

}  // namespace torvel::daemon
