#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace torvel::client {

// One connection to a message bus, driven by whoever runs the event loop: nothing here blocks or starts a
// thread. torvelctl waits in runUntil; the app watches fd() and deadline() and calls process().
class Bus {
  public:
    using Reply = std::function<void(sd_bus_message* reply, const sd_bus_error* error)>;
    // None waits as long as the peer keeps the call open.
    using Timeout = std::optional<std::chrono::milliseconds>;

    // The system bus (DBUS_SYSTEM_BUS_ADDRESS when set).
    static std::unique_ptr<Bus> system();
    // The bus at a D-Bus address ("unix:path=...").
    static std::unique_ptr<Bus> at(std::string address);

    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    // The open connection, reopened when the bus went away; null when there is none to be had.
    sd_bus* connection();

    struct Method {
        const char* destination;
        const char* path;
        const char* interface;
        const char* member;
        // Lets polkit ask the user for a password instead of refusing outright.
        bool interactive = false;
    };
    // Appends the call's arguments; a negative errno when they cannot be.
    using Arguments = std::function<int(sd_bus_message*)>;

    // Calls `method` and hands its reply or error to `done` from a later process(), never before this
    // returns: callers may still be setting up around the call. Without a connection `done` hears a
    // Disconnected error, just as late.
    void call(const Method& method, const Arguments& arguments, Timeout timeout, Reply done);
    // Calls `method` and waits at most `timeout` for its answer, dispatching nothing else meanwhile. Returns
    // the reply (the caller unrefs it), or null on any error.
    sd_bus_message* callAndWait(const Method& method, const Arguments& arguments,
                                std::chrono::milliseconds timeout);
    // Runs `action` from the next process().
    void defer(std::function<void()> action);

    // For an event loop: the descriptor to watch (-1: none), the poll(2) events it wants, and when process()
    // is due on CLOCK_MONOTONIC (none: only when the descriptor is ready).
    int fd() const;
    short events() const;
    std::optional<std::chrono::microseconds> deadline() const;
    // Dispatches whatever is ready: replies, calls that timed out, deferred actions.
    void process();
    // Waits and dispatches until `done` holds or nothing more can happen; returns whether it holds.
    bool runUntil(const std::function<bool()>& done);

    // Told whenever the descriptor, the events or the deadline may have changed outside process().
    void onChange(std::function<void()> notify) { notify_ = std::move(notify); }

  private:
    using Opener = std::function<int(sd_bus**)>;
    explicit Bus(Opener open);
    void changed() const;
    void dispatch();

    Opener open_;
    sd_bus* bus_ = nullptr;
    bool dispatching_ = false;
    std::deque<std::function<void()>> deferred_;
    std::function<void()> notify_;
};

}  // namespace torvel::client
