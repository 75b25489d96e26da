#include "bus.h"

#include <systemd/sd-bus.h>

#include <limits>
#include <utility>

namespace torvel::client {
namespace {

// What a call hears when there is no bus to send it on; errorText reads the name, not the words.
constexpr const char* disconnectedName = "org.freedesktop.DBus.Error.Disconnected";
constexpr const char* disconnectedMessage = "Not connected to D-Bus server.";

struct Pending {
    Bus::Reply done;
};

int deliver(sd_bus_message* reply, void* userdata, sd_bus_error*) {
    // Taken out first: the reply may well start the next call.
    const Bus::Reply done = std::exchange(static_cast<Pending*>(userdata)->done, nullptr);
    if (done) done(reply, sd_bus_message_get_error(reply));
    return 0;
}

void forget(void* userdata) {
    delete static_cast<Pending*>(userdata);
}

uint64_t microseconds(Bus::Timeout timeout) {
    // sd-bus reads UINT64_MAX as "no time-out"; its default of 25 s would end calls the service may still
    // answer (a polkit prompt waits on a person).
    if (!timeout) return std::numeric_limits<uint64_t>::max();
    return static_cast<uint64_t>(std::chrono::microseconds(*timeout).count());
}

}  // namespace

std::unique_ptr<Bus> Bus::system() {
    return std::unique_ptr<Bus>(new Bus([](sd_bus** bus) { return sd_bus_open_system(bus); }));
}

std::unique_ptr<Bus> Bus::at(std::string address) {
    return std::unique_ptr<Bus>(new Bus([address = std::move(address)](sd_bus** opened) {
        sd_bus* bus = nullptr;
        int result = sd_bus_new(&bus);
        if (result < 0) return result;
        if ((result = sd_bus_set_address(bus, address.c_str())) < 0 ||
            (result = sd_bus_set_bus_client(bus, 1)) < 0 || (result = sd_bus_start(bus)) < 0) {
            sd_bus_unref(bus);
            return result;
        }
        *opened = bus;
        return 0;
    }));
}

Bus::Bus(Opener open) : open_(std::move(open)) {
    connection();
}

Bus::~Bus() {
    // Calls still pending are dropped unheard.
    if (bus_ != nullptr) sd_bus_flush_close_unref(bus_);
}

sd_bus* Bus::connection() {
    if (bus_ != nullptr && sd_bus_is_open(bus_) > 0) return bus_;
    if (bus_ != nullptr) {
        // A reply being dispatched may start the next call; the lost connection cannot be replaced under
        // the dispatch, so that call hears it has none.
        if (dispatching_) return nullptr;
        // The calls still pending on a lost connection hear so before it goes.
        dispatch();
        sd_bus_flush_close_unref(bus_);
        bus_ = nullptr;
    }
    sd_bus* opened = nullptr;
    if (open_(&opened) >= 0) bus_ = opened;
    changed();
    return bus_;
}

void Bus::call(const Method& method, const Arguments& arguments, Timeout timeout, Reply done) {
    sd_bus* bus = connection();
    sd_bus_message* message = nullptr;
    int result = bus == nullptr
                     ? -ENOTCONN
                     : sd_bus_message_new_method_call(bus, &message, method.destination, method.path,
                                                      method.interface, method.member);
    if (result >= 0 && method.interactive) {
        result = sd_bus_message_set_allow_interactive_authorization(message, 1);
    }
    if (result >= 0 && arguments) result = arguments(message);
    auto pending = std::make_unique<Pending>(Pending{std::move(done)});
    sd_bus_slot* slot = nullptr;
    if (result >= 0) {
        result = sd_bus_call_async(bus, &slot, message, deliver, pending.get(), microseconds(timeout));
    }
    sd_bus_message_unref(message);
    if (result < 0) {
        defer([done = std::move(pending->done)] {
            sd_bus_error error{};  // SD_BUS_ERROR_NULL, without the C99 compound literal
            sd_bus_error_set_const(&error, disconnectedName, disconnectedMessage);
            done(nullptr, &error);
        });
        return;
    }
    // The bus owns the call from here: it frees it after the reply, or unheard when it closes.
    sd_bus_slot_set_destroy_callback(slot, forget);
    pending.release();
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    changed();
}

sd_bus_message* Bus::callAndWait(const Method& method, const Arguments& arguments,
                                 std::chrono::milliseconds timeout) {
    sd_bus* bus = connection();
    if (bus == nullptr) return nullptr;
    sd_bus_message* message = nullptr;
    sd_bus_message* reply = nullptr;
    int result = sd_bus_message_new_method_call(bus, &message, method.destination, method.path,
                                                method.interface, method.member);
    if (result >= 0 && arguments) result = arguments(message);
    sd_bus_error error{};
    if (result >= 0) result = sd_bus_call(bus, message, microseconds(timeout), &error, &reply);
    sd_bus_error_free(&error);
    sd_bus_message_unref(message);
    // Whatever else arrived while waiting sits in the queue now, due at once.
    changed();
    return result < 0 ? nullptr : reply;
}

void Bus::defer(std::function<void()> action) {
    deferred_.push_back(std::move(action));
    changed();
}

int Bus::fd() const {
    if (bus_ == nullptr) return -1;
    const int fd = sd_bus_get_fd(bus_);
    return fd < 0 ? -1 : fd;
}

short Bus::events() const {
    if (bus_ == nullptr) return 0;
    const int events = sd_bus_get_events(bus_);
    return events < 0 ? short{0} : static_cast<short>(events);
}

std::optional<std::chrono::microseconds> Bus::deadline() const {
    if (!deferred_.empty()) return std::chrono::microseconds(0);
    uint64_t due = 0;
    if (bus_ == nullptr || sd_bus_get_timeout(bus_, &due) <= 0 ||
        due == std::numeric_limits<uint64_t>::max()) {
        return std::nullopt;
    }
    return std::chrono::microseconds(due);
}

void Bus::process() {
    // Only those deferred so far: an action that defers another leaves it for the next round.
    auto ready = std::exchange(deferred_, {});
    for (auto& action : ready) action();
    if (bus_ != nullptr) dispatch();
}

void Bus::dispatch() {
    dispatching_ = true;
    while (sd_bus_process(bus_, nullptr) > 0) {
    }
    dispatching_ = false;
}

bool Bus::runUntil(const std::function<bool()>& done) {
    while (!done()) {
        process();
        if (done()) return true;
        if (!deferred_.empty()) continue;
        if (bus_ == nullptr) return false;
        if (sd_bus_wait(bus_, std::numeric_limits<uint64_t>::max()) < 0) {
            // A lost connection: whatever it still owes its callers comes out now.
            process();
            return done();
        }
    }
    return true;
}

void Bus::changed() const {
    if (notify_) notify_();
}

}  // namespace torvel::client
