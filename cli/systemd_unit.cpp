#include "systemd_unit.h"

#include <systemd/sd-bus.h>

#include <memory>

namespace torvel::cli {
namespace {

// Half a second is plenty for systemd on the same machine; a stuck bus must not hang the command.
constexpr uint64_t callTimeoutMicroseconds = 500'000;

struct BusDeleter {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageDeleter {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

}  // namespace

std::optional<std::string> unitFileState(std::string_view unit) {
    sd_bus* rawBus = nullptr;
    if (sd_bus_open_system(&rawBus) < 0) return std::nullopt;
    std::unique_ptr<sd_bus, BusDeleter> bus(rawBus);

    sd_bus_message* rawCall = nullptr;
    if (sd_bus_message_new_method_call(bus.get(), &rawCall, "org.freedesktop.systemd1",
                                       "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager",
                                       "GetUnitFileState") < 0) {
        return std::nullopt;
    }
    std::unique_ptr<sd_bus_message, MessageDeleter> call(rawCall);
    const std::string unitName(unit);
    if (sd_bus_message_append(call.get(), "s", unitName.c_str()) < 0) return std::nullopt;

    sd_bus_error error{};  // SD_BUS_ERROR_NULL, without the C99 compound literal clang rejects in C++
    sd_bus_message* rawReply = nullptr;
    const int result = sd_bus_call(bus.get(), call.get(), callTimeoutMicroseconds, &error, &rawReply);
    sd_bus_error_free(&error);
    if (result < 0) return std::nullopt;
    std::unique_ptr<sd_bus_message, MessageDeleter> reply(rawReply);

    const char* state = nullptr;
    if (sd_bus_message_read(reply.get(), "s", &state) < 0 || state == nullptr) return std::nullopt;
    return std::string(state);
}

}  // namespace torvel::cli
