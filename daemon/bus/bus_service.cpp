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

namespace {

// The argument of an ApplySettings call, pointing into the message itself: nothing is copied.
std::optional<std::string_view> settingsArgument(sd_bus_message* call) {
    const char* message = nullptr;
    if (sd_bus_message_rewind(call, 1) < 0 || sd_bus_message_read(call, "s", &message) < 0 || !message)
        return std::nullopt;
    return std::string_view(message, ::strnlen(message, BusService::maxMessageBytes + 1));
}

Authoriser::Admit asking(Action action) {
    return [action] { return Authoriser::Admission(action); };
}

}  // namespace

int BusService::onApplySettings(sd_bus_message* call, void* self, sd_bus_error*) {
    auto* service = static_cast<BusService*>(self);
    auto update = std::make_shared<SettingsUpdate>();
    service->authorise(
        call,
        [service, call, update]() -> Authoriser::Admission {
            const auto message = settingsArgument(call);
            if (!message) return std::string("The settings could not be read.");
            if (message->size() > maxMessageBytes) return std::string("The settings are too large.");
            *update = SettingsUpdate::read(*message);
            if (update->refusal()) return *update->refusal();
            return service->commands_.needsAdministrator(*update) ? Action::applyProtectedSettings
                                                                  : Action::applySettings;
        },
        update);
    return 1;
}

int BusService::onPurgeAllData(sd_bus_message* call, void* self, sd_bus_error*) {
    static_cast<BusService*>(self)->authorise(call, asking(Action::purgeAllData));
    return 1;
}

int BusService::onReleaseCharge(sd_bus_message* call, void* self, sd_bus_error*) {
    static_cast<BusService*>(self)->authorise(call, asking(Action::releaseCharge));
    return 1;
}

int BusService::onRestart(sd_bus_message* call, void* self, sd_bus_error*) {
    static_cast<BusService*>(self)->authorise(call, asking(Action::restart));
    return 1;
}

void BusService::authorise(sd_bus_message* call, Authoriser::Admit admit,
                           std::shared_ptr<const SettingsUpdate> update) {
    // The answer may come after a password prompt; the call is kept until then.
    sd_bus_message_ref(call);
    auto action = std::make_shared<std::optional<Action>>();
    authoriser_.check(
        call,
        [admit = std::move(admit), action] {
            auto admission = admit();
            if (const auto* asked = std::get_if<Action>(&admission)) *action = *asked;
            return admission;
        },
        [this, call, action, update](Authoriser::Verdict verdict, std::string reason) {
            switch (verdict) {
                case Authoriser::Verdict::allowed:
                    perform(call, **action, update.get());
                    break;
                case Authoriser::Verdict::invalid:
                    sd_bus_reply_method_return(call, "bs", 0, reason.c_str());
                    break;
                case Authoriser::Verdict::refused:
                case Authoriser::Verdict::busy:
                    sd_bus_reply_method_errorf(call,
                                               verdict == Authoriser::Verdict::busy
                                                   ? SD_BUS_ERROR_LIMITS_EXCEEDED
                                                   : SD_BUS_ERROR_ACCESS_DENIED,
                                               "%s", reason.c_str());
                    break;
            }
            sd_bus_message_unref(call);
        });
}

void BusService::perform(sd_bus_message* call, Action action, const SettingsUpdate* update) {
    CallReply reply;
    switch (action) {
        case Action::applySettings:
        case Action::applyProtectedSettings:
            // Other settings may have arrived during the prompt: what was harmless then may not be now.
            if (action == Action::applySettings && commands_.needsAdministrator(*update)) {
                authorise(call, asking(Action::applyProtectedSettings),
                          std::make_shared<const SettingsUpdate>(*update));
                return;
            }
            reply = commands_.applySettings(*update);
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
    if (action == Action::restart) {
        // The caller hears "yes" before the process goes away.
        sd_bus_flush(bus_);
        commands_.restart();
    }
}

}  // namespace torvel::daemon
