#include "device/writer_lookout.h"

#include <systemd/sd-bus.h>

#include <cctype>

namespace torvel::daemon {
namespace {

// A hung UPower must not stall the control loop for long.
constexpr std::uint64_t callTimeoutMicros = 500000;

bool upowerHoldsThreshold(sd_bus* bus, std::string_view battery) {
    sd_bus_error error{};
    int enabled = 0;
    const int result = sd_bus_get_property_trivial(
        bus, "org.freedesktop.UPower", upowerDevicePath(battery).c_str(), "org.freedesktop.UPower.Device",
        "ChargeThresholdEnabled", &error, 'b', &enabled);
    sd_bus_error_free(&error);
    return result >= 0 && enabled;
}

bool nameOwned(sd_bus* bus, const char* name) {
    sd_bus_message* reply = nullptr;
    int owned = 0;
    if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "NameHasOwner", nullptr, &reply, "s", name) >= 0) {
        sd_bus_message_read(reply, "b", &owned);
    }
    sd_bus_message_unref(reply);
    return owned;
}

}  // namespace

std::string upowerDevicePath(std::string_view battery) {
    std::string path = "/org/freedesktop/UPower/devices/battery_";
    for (const char c : battery) path += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return path;
}

std::optional<OtherWriter> SystemWriterLookout::identify(const std::vector<std::string>& batteries) {
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) < 0) bus = nullptr;
    if (bus != nullptr) sd_bus_set_method_call_timeout(bus, callTimeoutMicros);
    std::optional<OtherWriter> found;
    for (const auto& battery : batteries) {
        if (bus != nullptr && !found && upowerHoldsThreshold(bus, battery))
            found =
                OtherWriter{.program = OtherWriter::Program::upower, .file = {}, .at = {}, .yielded = false};
    }
    if (!found) {
        if (auto file = tlpThresholdFile(paths_))
            found =
                OtherWriter{.program = OtherWriter::Program::tlp, .file = file, .at = {}, .yielded = false};
    }
    if (!found && bus != nullptr && nameOwned(bus, "org.kde.powerdevil.chargethresholdhelper"))
        found = OtherWriter{.program = OtherWriter::Program::kde, .file = {}, .at = {}, .yielded = false};
    sd_bus_flush_close_unref(bus);
    return found;
}

}  // namespace torvel::daemon
