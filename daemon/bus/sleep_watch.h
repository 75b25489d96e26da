#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <optional>
#include <string>

#include "common/syscalls.h"

namespace torvel::daemon {

// Holds a logind delay inhibitor for sleep and hears PrepareForSleep, so the service gets its turn before
// the machine sleeps (a forced discharge must not run on unwatched) and the moment it wakes (firmware that
// forgot the thresholds is set right at once). The inhibitor is let go as soon as the service is ready, and
// taken again on waking. Without logind nothing is heard; the loop still notices a resume on its next tick.
class SleepWatch {
  public:
    // `going`: true before sleep, false after waking.
    using Sleeping = std::function<void(bool going)>;

    SleepWatch(sd_bus* bus, Sleeping sleeping) : bus_(bus), sleeping_(std::move(sleeping)) {}
    ~SleepWatch();
    SleepWatch(const SleepWatch&) = delete;
    SleepWatch& operator=(const SleepWatch&) = delete;

    // Subscribes to PrepareForSleep and asks for the inhibitor; nothing waits for an answer. Returns a
    // failure text.
    std::optional<std::string> start();
    bool holding() const { return inhibitor_.valid(); }

  private:
    static int onPrepareForSleep(sd_bus_message* signal, void* self, sd_bus_error*);
    static int onInhibitor(sd_bus_message* reply, void* self, sd_bus_error*);
    void inhibit();

    sd_bus* bus_;
    Sleeping sleeping_;
    sd_bus_slot* match_ = nullptr;
    sd_bus_slot* asking_ = nullptr;
    FileDescriptor inhibitor_;
};

}  // namespace torvel::daemon
