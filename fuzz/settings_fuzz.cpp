// config.json may have been edited by hand or cut short by a full disk; loading it must never crash and
// whatever it loads must survive the trip back through the message the service receives.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "service/settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const torvel::Settings loaded = torvel::loadSettings(bytes);
    if (torvel::loadSettings(torvel::settingsMessage(loaded)) != loaded) std::abort();
    return 0;
}
