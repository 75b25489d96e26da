#include "systemd_units.h"

#include <systemd/sd-bus.h>

#include <variant>

#include "bus.h"
#include "common/files.h"
#include "service/bus_address.h"

namespace torvel::client {
namespace {

// Switching may wait on the user typing a password.
constexpr std::chrono::minutes changeTimeout{5};
constexpr const char* notSystemd = "The charge service is not run by systemd here.";

Bus::Method manager(const char* member) {
    return {"org.freedesktop.systemd1", "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager",
            member, true};
}

std::optional<RegistrationError> failure(const sd_bus_error* error) {
    if (error == nullptr) return std::nullopt;
    return SystemdUnits::errorFrom(error->name != nullptr ? error->name : "",
                                   error->message != nullptr ? error->message : "");
}

std::optional<std::string> unitText(const std::filesystem::path& path) {
    auto contents = readWholeFile(path);
    if (auto* text = std::get_if<std::string>(&contents)) return std::move(*text);
    return std::nullopt;
}

}  // namespace

UnitFiles readUnitFiles(const std::filesystem::path& root) {
    UnitFiles units;
    const std::filesystem::path helper = root / "etc/systemd/system" / bus::unitName;
    std::error_code error;
    if (!std::filesystem::is_symlink(helper, error)) units.helper = unitText(helper);
    units.package = unitText(root / "usr/lib/systemd/system" / bus::unitName);
    if (!units.package) units.package = unitText(root / "lib/systemd/system" / bus::unitName);
    return units;
}

SystemdUnits::SystemdUnits(Bus& bus, std::optional<std::string> fixedState)
    : bus_(bus), fixedState_(std::move(fixedState)) {}

ServiceRegistration::Status SystemdUnits::statusFromUnitFileState(std::string_view state) {
    if (state == "enabled" || state == "enabled-runtime") return ServiceRegistration::Status::enabled;
    return ServiceRegistration::Status::notRegistered;
}

RegistrationError SystemdUnits::errorFrom(std::string_view errorName, std::string_view message) {
    const bool missing = errorName == "org.freedesktop.systemd1.NoSuchUnit" ||
                         errorName == "org.freedesktop.DBus.Error.FileNotFound";
    return {missing ? 2 : 0, std::string(message.empty() ? errorName : message)};
}

std::optional<std::string> SystemdUnits::unitFileState() {
    if (fixedState_) return fixedState_;
    auto method = manager("GetUnitFileState");
    method.interactive = false;
    sd_bus_message* reply = bus_.callAndWait(
        method, [](sd_bus_message* call) { return sd_bus_message_append(call, "s", bus::unitName); },
        stateTimeout);
    if (reply == nullptr) return std::nullopt;
    const char* state = nullptr;
    std::optional<std::string> result;
    if (sd_bus_message_read(reply, "s", &state) >= 0 && state != nullptr) result = state;
    sd_bus_message_unref(reply);
    return result;
}

ServiceRegistration::Status SystemdUnits::status() {
    const auto state = unitFileState();
    return state ? statusFromUnitFileState(*state) : ServiceRegistration::Status::notFound;
}

void SystemdUnits::chain(const char* first, const char* second, bool withFileFlags, Done done) {
    // EnableUnitFiles takes (runtime, force), DisableUnitFiles only (runtime): never runtime-only, and
    // enabling replaces a stale link left by an older install.
    const auto unitFiles = [withFileFlags](sd_bus_message* call) {
        return withFileFlags ? sd_bus_message_append(call, "asbb", 1, bus::unitName, 0, 1)
                             : sd_bus_message_append(call, "asb", 1, bus::unitName, 0);
    };
    const auto unit = [](sd_bus_message* call) {
        return sd_bus_message_append(call, "ss", bus::unitName, "replace");
    };
    bus_.call(manager(first), unitFiles, changeTimeout,
              [this, alive = std::weak_ptr(alive_), second, unit, done = std::move(done)](
                  sd_bus_message*, const sd_bus_error* error) {
                  if (alive.expired()) return;
                  if (error != nullptr) return done(failure(error));
                  bus_.call(manager(second), unit, changeTimeout,
                            [alive, done](sd_bus_message*, const sd_bus_error* again) {
                                if (!alive.expired()) done(failure(again));
                            });
              });
}

void SystemdUnits::enableAndStart(Done done) {
    if (fixedState_) return done(RegistrationError{0, notSystemd});
    chain("EnableUnitFiles", "StartUnit", true, std::move(done));
}

void SystemdUnits::disableAndStop(Done done) {
    if (fixedState_) return done(RegistrationError{0, notSystemd});
    chain("DisableUnitFiles", "StopUnit", false, std::move(done));
}

}  // namespace torvel::client
