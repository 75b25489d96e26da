#include "bus/bus_service.h"

#include <cstring>

#include "common/syscalls.h"

namespace torvel::daemon {
BusService::~BusService() {
    sd_bus_slot_unref(slot_);
}

std::optional<std::string> BusService::start(bool takeName) {
    // Argument names match packaging/linux/com.torvel.Daemon1.xml, which a test holds this table to.
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD_WITH_NAMES("ApplySettings", "s", SD_BUS_PARAM(settings), "bs",
                                 SD_BUS_PARAM(ok) SD_BUS_PARAM(message), onApplySettings,
                                 SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD_WITH_NAMES("PurgeAllData", "", "", "bs", SD_BUS_PARAM(ok) SD_BUS_PARAM(message),
                                 onPurgeAllData, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD_WITH_NAMES("ReleaseCharge", "", "", "bs", SD_BUS_PARAM(ok) SD_BUS_PARAM(message),
                                 onReleaseCharge, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD_WITH_NAMES("Restart", "", "", "bs", SD_BUS_PARAM(ok) SD_BUS_PARAM(message), onRestart,
                                 SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    int result = sd_bus_add_object_vtable(bus_, &slot_, objectPath, interfaceName, table, this);
    if (result < 0) return systemError("register", objectPath, -result);
    if (takeName) {
        result = sd_bus_request_name(bus_, busName, 0);
        if (result < 0) return systemError("own", busName, -result);
    }
    return std::nullopt;
}

int BusService::onApplySettings(sd_bus_message* call, void* self, sd_bus_error*) {
    const char* message = nullptr;
    const int result = sd_bus_message_read(call, "s", &message);
    if (result < 0) return result;
    return static_cast<BusService*>(self)->handle(call, Action::applySettings, message);
}

int BusService::onPurgeAllData(sd_bus_message* call, void* self, sd_bus_error*) {
    return static_cast<BusService*>(self)->handle(call, Action::purgeAllData, {});
}

int BusService::onReleaseCharge(sd_bus_message* call, void* self, sd_bus_error*) {
    return static_cast<BusService*>(self)->handle(call, Action::releaseCharge, {});
}

int BusService::onRestart(sd_bus_message* call, void* self, sd_bus_error*) {
    return static_cast<BusService*>(self)->handle(call, Action::restart, {});
}

int BusService::handle(sd_bus_message* call, Action action, std::string argument) {
    // The answer may come after a password prompt; the call is kept until then.
    sd_bus_message_ref(call);
    authoriser_.check(
        call, action, [this, call, action, argument = std::move(argument)](bool allowed, std::string reason) {
            if (!allowed) {
                sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "%s", reason.c_str());
                sd_bus_message_unref(call);
                return;
            }
            CallReply reply;
            switch (action) {
                case Action::applySettings:
                    reply = commands_.applySettings(argument);
                    break;
                case Action::purgeAllData:
                    reply = commands_.purgeAllData();
                    break;
                case Action::releaseCharge:
                    reply = commands_.releaseCharge();
                    break;
                case Action::restart:
                    break;
            }
            sd_bus_reply_method_return(call, "bs", static_cast<int>(reply.ok), reply.message.c_str());
            sd_bus_message_unref(call);
            if (action == Action::restart) {
                // The caller hears "yes" before the process goes away.
                sd_bus_flush(bus_);
                commands_.restart();
            }
        });
    return 1;
}

}  // namespace torvel::daemon
