// The service's reading of a settings message: bytes from any local caller on the bus.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "service/settings_rules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view message(reinterpret_cast<const char*>(data), size);
    const auto update = torvel::SettingsUpdate::read(message);
    // Whatever is taken must be in range and survive the trip through config.json unchanged.
    const auto s = update.appliedTo(torvel::Settings{});
    if (s.limit < 20 || s.limit > 100 || s.hysteresis < 1 || s.hysteresis > 40 || s.blinkSeconds < 0.5 ||
        s.blinkSeconds > 5 || s.historyDays < 1 || s.topUpHours > 48) {
        __builtin_trap();
    }
    if (torvel::loadSettings(torvel::settingsMessage(s)) != s) __builtin_trap();
    return 0;
}
