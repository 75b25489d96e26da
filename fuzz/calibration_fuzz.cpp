// The "cal" object arrives from a file another program writes: decoding must never fail, every text must
// build from whatever it yields, and the daemon's re-encoding must decode to the same status.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "calibration/status.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto object =
        torvel::json::parseObject(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!object) return 0;
    // Both as the whole status file's "cal" member and as the object itself.
    for (const torvel::json::Value* cal : {torvel::json::member(*object, "cal"), &*object}) {
        if (cal == nullptr) continue;
        const auto status = torvel::CalibrationStatus::decode(*cal);

        (void)status.phase.label(status.drainTarget);
        (void)status.phase.reason();
        (void)status.verdict();
        (void)status.macOSGap();
        (void)status.trend();
        if (status.lastFailure) (void)status.lastFailure->text();
        for (const auto& run : status.runs) {
            (void)run.pct(run.afterRaw);
            (void)run.pct(run.afterNominal);
        }

        const auto wire = status.encode().dump();
        const auto again = torvel::json::parseObject(wire);
        if (!again || torvel::CalibrationStatus::decode(*again) != status) std::abort();
    }
    return 0;
}
