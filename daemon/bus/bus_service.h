#pragma once

#include <systemd/sd-bus.h>

#include <optional>
#include <string>
#include <string_view>

#include "bus/authoriser.h"
#include "call_reply.h"
#include "service/bus_address.h"

namespace torvel::daemon {

using bus::interfaceName;
using bus::objectPath;
inline constexpr const char* busName = bus::serviceName;

// What the remote calls do once a caller is authorised.
class BusCommands {
  public:
    virtual ~BusCommands() = default;
    virtual CallReply applySettings(std::string_view message) = 0;
    virtual CallReply purgeAllData() = 0;
    virtual CallReply releaseCharge() = 0;
    // Called after the reply to Restart has been sent.
    virtual void restart() = 0;
};

// com.torvel.Daemon1 on /com/torvel/Daemon: checks authorisation, then hands the call over. A refused
// caller gets org.freedesktop.DBus.Error.AccessDenied; a refused request gets (false, reason).
class BusService {
  public:
    BusService(sd_bus* bus, BusCommands& commands, Authoriser& authoriser)
        : bus_(bus), commands_(commands), authoriser_(authoriser) {}
    ~BusService();
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    // Registers the object and, when asked, takes the well-known name. Returns a failure text.
    std::optional<std::string> start(bool takeName = true);

  private:
    static int onApplySettings(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onPurgeAllData(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onReleaseCharge(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onRestart(sd_bus_message* call, void* self, sd_bus_error* error);
    int handle(sd_bus_message* call, Action action, std::string argument);

    sd_bus* bus_;
    BusCommands& commands_;
    Authoriser& authoriser_;
    sd_bus_slot* slot_ = nullptr;
};

}  // namespace torvel::daemon
