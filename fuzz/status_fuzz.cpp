// status.json is written by a root process but read by the app; a torn or hostile file must only ever
// turn into fallbacks, and whatever is read must be written back as the same record.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "service/status_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    torvel::ServiceStatus status;
    torvel::refreshStatus(status, bytes, 1763900000, true);
    const torvel::PublishedStatus& read = status.published;
    if (read.nativeFloor && (*read.nativeFloor < 0 || *read.nativeFloor > 100)) std::abort();
    (void)status.stateWord();
    (void)read.cal.verdict();
    (void)read.cal.trend();
    (void)read.cal.macOSGap();

    if (const auto decoded = torvel::PublishedStatus::decode(bytes)) {
        const auto again = torvel::PublishedStatus::decode(decoded->fileText());
        if (!again || *again != *decoded) std::abort();
    }
    return 0;
}
