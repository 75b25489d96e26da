#include "bus/sleep_watch.h"

#include <fcntl.h>

namespace torvel::daemon {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindManager = "org.freedesktop.login1.Manager";

}  // namespace

SleepWatch::~SleepWatch() {
    sd_bus_slot_unref(match_);
    sd_bus_slot_unref(asking_);
}

std::optional<std::string> SleepWatch::start() {
    const int result = sd_bus_match_signal_async(bus_, &match_, logind, logindPath, logindManager,
                                                 "PrepareForSleep", onPrepareForSleep, nullptr, this);
    if (result < 0) return systemError("watch for sleep on", "the system bus", -result);
    inhibit();
    return std::nullopt;
}

void SleepWatch::inhibit() {
    if (inhibitor_.valid() || asking_ != nullptr) return;
    sd_bus_call_method_async(bus_, &asking_, logind, logindPath, logindManager, "Inhibit", onInhibitor, this,
                             "ssss", "sleep", "Torvel",
                             "Hands a forced discharge back to the firmware before sleep", "delay");
}

int SleepWatch::onInhibitor(sd_bus_message* reply, void* self, sd_bus_error*) {
    auto* watch = static_cast<SleepWatch*>(self);
    watch->asking_ = sd_bus_slot_unref(watch->asking_);
    int fd = -1;
    // No logind, or not allowed to delay sleep (an unprivileged run): resume is still noticed by the loop.
    if (sd_bus_message_is_method_error(reply, nullptr) || sd_bus_message_read(reply, "h", &fd) < 0) return 0;
    // The descriptor belongs to the message; ours must outlive it.
    watch->inhibitor_ = FileDescriptor(::fcntl(fd, F_DUPFD_CLOEXEC, 3));
    return 0;
}

int SleepWatch::onPrepareForSleep(sd_bus_message* signal, void* self, sd_bus_error*) {
    auto* watch = static_cast<SleepWatch*>(self);
    int going = 0;
    if (sd_bus_message_read(signal, "b", &going) < 0) return 0;
    watch->sleeping_(going != 0);
    if (going) {
        // Ready: logind may go on with the sleep.
        watch->inhibitor_.reset();
    } else {
        watch->inhibit();
    }
    return 0;
}

}  // namespace torvel::daemon
