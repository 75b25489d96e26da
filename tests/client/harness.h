#pragma once

#include <poll.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bus.h"
#include "daemon/harness.h"
#include "service/bus_address.h"

namespace torvel::client::testing {

using Clock = std::chrono::steady_clock;

// The daemon tests' own dbus-daemon, up from the start: no test touches the machine's buses.
struct PrivateBus : torvel::testing::PrivateBus {
    PrivateBus() { start(false); }
};

// Stands in for a service at its bus name and path (the charge service unless told otherwise), answering
// every method of its interface the same chosen way.
class FakeService {
  public:
    struct Answer {
        enum Kind { reply, silent, late } kind = reply;
        bool ok = true;
        std::string message{};
        std::chrono::milliseconds lateBy{0};
        // Another shape than (b ok, s message): "b" sends only ok, "sb" the two swapped, "s" only message.
        std::string signature = "bs";
        // An error reply of this name, with `message`, instead.
        std::string errorName{};
    };
    struct Address {
        const char* name;
        const char* path;
        const char* interface;
    };
    struct Received {
        std::string member;
        std::string signature;
        std::string argument;  // the first string argument, if any
    };

    FakeService(const std::string& address, Answer answer)
        : FakeService(address, std::move(answer), {bus::serviceName, bus::objectPath, bus::interfaceName}) {}
    FakeService(const std::string& address, Answer answer, Address at)
        : bus_(Bus::at(address)), answer_(std::move(answer)), at_(at) {
        sd_bus* bus = bus_->connection();
        if (bus == nullptr) return;
        sd_bus_add_object(bus, nullptr, at_.path, &FakeService::handle, this);
        sd_bus_request_name(bus, at_.name, 0);
    }
    ~FakeService() { leave(); }

    // Answers from a thread of its own until destroyed, for callers that block; received() only after.
    void serveInBackground() {
        background_ = std::jthread([this](std::stop_token stop) {
            while (!stop.stop_requested()) {
                process();
                pollfd fd{bus_->fd(), bus_->events(), 0};
                ::poll(&fd, 1, 5);
            }
        });
    }

    // Drops off the bus, as a service that crashes would, leaving its callers without an answer.
    void leave() {
        if (background_.joinable()) {
            background_.request_stop();
            background_.join();
        }
        for (auto& [call, due] : held_) sd_bus_message_unref(call);
        held_.clear();
        bus_.reset();
    }

    const std::vector<Received>& received() const { return received_; }

    // Answers what is due and whatever arrived.
    void process() {
        if (!bus_) return;
        bus_->process();
        for (auto held = held_.begin(); held != held_.end();) {
            if (held->second && *held->second <= Clock::now()) {
                answer(held->first);
                sd_bus_message_unref(held->first);
                held = held_.erase(held);
            } else {
                ++held;
            }
        }
    }
    Bus* bus() { return bus_.get(); }

  private:
    static int handle(sd_bus_message* call, void* self, sd_bus_error*) {
        auto& service = *static_cast<FakeService*>(self);
        if (std::string_view(sd_bus_message_get_interface(call)) != service.at_.interface) return 0;
        Received received{sd_bus_message_get_member(call), sd_bus_message_get_signature(call, 1), {}};
        const char* argument = nullptr;
        if (received.signature.starts_with("s") && sd_bus_message_read(call, "s", &argument) >= 0) {
            received.argument = argument;
        }
        if (received.signature.starts_with("as") && sd_bus_message_read(call, "as", 1, &argument) >= 0) {
            received.argument = argument;
        }
        service.received_.push_back(received);
        const Answer& answer = service.answer_;
        if (answer.kind == Answer::reply) {
            service.answer(call);
        } else {
            const auto due =
                answer.kind == Answer::late ? std::optional(Clock::now() + answer.lateBy) : std::nullopt;
            service.held_.emplace_back(sd_bus_message_ref(call), due);
        }
        return 1;
    }

    void answer(sd_bus_message* call) {
        const int ok = answer_.ok ? 1 : 0;
        const char* message = answer_.message.c_str();
        if (!answer_.errorName.empty()) {
            sd_bus_reply_method_errorf(call, answer_.errorName.c_str(), "%s", message);
        } else if (answer_.signature == "s") {
            sd_bus_reply_method_return(call, "s", message);
        } else if (answer_.signature == "b") {
            sd_bus_reply_method_return(call, "b", ok);
        } else if (answer_.signature == "sb") {
            sd_bus_reply_method_return(call, "sb", message, ok);
        } else {
            sd_bus_reply_method_return(call, "bs", ok, message);
        }
    }

    std::unique_ptr<Bus> bus_;
    Answer answer_;
    Address at_;
    std::jthread background_;
    std::vector<Received> received_;
    std::vector<std::pair<sd_bus_message*, std::optional<Clock::time_point>>> held_;
};

// Pumps the buses until `done` holds or the time is up; returns whether it held.
inline bool spinUntil(const std::vector<Bus*>& buses, FakeService* service, const std::function<bool()>& done,
                      std::chrono::milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > end) return false;
        for (Bus* bus : buses) bus->process();
        if (service != nullptr) service->process();
        std::vector<pollfd> fds;
        for (Bus* bus : buses) {
            if (bus->fd() >= 0) fds.push_back({bus->fd(), bus->events(), 0});
        }
        if (service != nullptr && service->bus() != nullptr && service->bus()->fd() >= 0) {
            fds.push_back({service->bus()->fd(), service->bus()->events(), 0});
        }
        ::poll(fds.data(), fds.size(), 5);
    }
    return true;
}

}  // namespace torvel::client::testing
