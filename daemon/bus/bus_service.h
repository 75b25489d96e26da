#pragma once

#include <systemd/sd-bus.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bus/authoriser.h"
#include "call_reply.h"
#include "service/bus_address.h"
#include "service/settings_rules.h"

namespace torvel::daemon {

using bus::interfaceName;
using bus::objectPath;
inline constexpr const char* busName = bus::serviceName;

// What the remote calls do once a caller is authorised.
class BusCommands {
  public:
    virtual ~BusCommands() = default;
    // Whether a settings message undoes a protection or destroys something kept, which takes the
    // administrator's say rather than the session's. Asked again after a prompt: other settings may have
    // arrived meanwhile.
    virtual bool needsAdministrator(const SettingsUpdate& update) const = 0;
    virtual CallReply applySettings(const SettingsUpdate& update) = 0;
    virtual CallReply purgeAllData() = 0;
    virtual CallReply releaseCharge() = 0;
    // Called after the reply to Restart has been sent.
    virtual void restart() = 0;
};

// com.torvel.Daemon1 on /com/torvel/Daemon: checks authorisation, then hands the call over. A refused
// caller gets org.freedesktop.DBus.Error.AccessDenied (LimitsExceeded while too many of its calls wait); a
// refused request gets (false, reason). A settings message is read once, and only after its caller has a
// place under its bound.
class BusService {
  public:
    BusService(sd_bus* bus, BusCommands& commands, Authoriser& authoriser)
        : bus_(bus), commands_(commands), authoriser_(authoriser) {}
    ~BusService();
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    // Settings messages larger than this are refused unread: the configuration object is a few hundred
    // bytes, and a caller sending megabytes means the service harm.
    static constexpr std::size_t maxMessageBytes = 64 * 1024;

    // Registers the object and, when asked, takes the well-known name. Returns a failure text.
    std::optional<std::string> start(bool takeName = true);

  private:
    static int onApplySettings(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onPurgeAllData(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onReleaseCharge(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onRestart(sd_bus_message* call, void* self, sd_bus_error* error);
    // The call stays referenced until it is answered.
    void authorise(sd_bus_message* call, Authoriser::Admit admit,
                   std::shared_ptr<const SettingsUpdate> update = nullptr);
    void perform(sd_bus_message* call, Action action, const SettingsUpdate* update);

    sd_bus* bus_;
    BusCommands& commands_;
    Authoriser& authoriser_;
    sd_bus_slot* slot_ = nullptr;
};

}  // namespace torvel::daemon
