// status.json is written by a root process but read by the app; a torn or hostile file must only ever
// turn into fallbacks.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "service/status_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    torvel::ServiceStatus status;
    torvel::refreshStatus(status, bytes, 1763900000, true);
    if (status.nativeFloor && (*status.nativeFloor < 0 || *status.nativeFloor > 100)) std::abort();
    (void)status.cal.verdict();
    (void)status.cal.trend();
    (void)status.cal.macOSGap();
    return 0;
}
