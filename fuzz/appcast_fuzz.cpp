// Versions and signatures come from the update feed; any bytes must order consistently and never verify by
// accident. The input is two versions separated by a line break, then a signature.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "extras/appcast.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto first = bytes.find('\n');
    const std::string a = bytes.substr(0, first);
    const std::string b = first == std::string::npos ? std::string() : bytes.substr(first + 1);
    const int ab = torvel::Appcast::compareVersions(a, b);
    if (ab != -torvel::Appcast::compareVersions(b, a) || torvel::Appcast::compareVersions(a, a) != 0)
        std::abort();

    const torvel::UpdateVerification::PublicKey key(torvel::UpdateVerification::publicKeySize, 7);
    if (!torvel::UpdateVerification::verify({data, size}, size, b, key)) std::abort();
    (void)torvel::UpdateVerification::publicKey(a);
    return 0;
}
