// The probe's answer is whatever the child printed; any bytes must map to one of the three results.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "battery/probe.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto result = torvel::HardwareProbe::interpret(torvel::HardwareProbe::Output{bytes});
    if (const auto* unsupported = std::get_if<torvel::HardwareProbe::Unsupported>(&result)) {
        if (unsupported->message(27).empty()) std::abort();
    }
    if (const auto* failed = std::get_if<torvel::HardwareProbe::Failed>(&result);
        failed && failed->text.empty()) {
        std::abort();
    }
    return 0;
}
