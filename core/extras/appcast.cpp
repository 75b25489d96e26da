#include "extras/appcast.h"

#include <sodium.h>

#include <algorithm>
#include <cmath>

#include "common/texts.h"

namespace torvel {

namespace {

struct VersionPart {
    bool number = false;
    std::string_view text;  // digits without leading zeros, or letters
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Anything but digits and letters only separates parts, so "1.2-3", "1.2.3" and "1_2_3" read alike.
std::vector<VersionPart> versionParts(std::string_view version) {
    std::vector<VersionPart> parts;
    std::size_t i = 0;
    while (i < version.size()) {
        const char c = version[i];
        if (isDigit(c)) {
            std::size_t end = i;
            while (end < version.size() && isDigit(version[end])) ++end;
            std::size_t start = i;
            while (start + 1 < end && version[start] == '0') ++start;
            parts.push_back({true, version.substr(start, end - start)});
            i = end;
        } else if (isLetter(c)) {
            std::size_t end = i;
            while (end < version.size() && isLetter(version[end])) ++end;
            parts.push_back({false, version.substr(i, end - i)});
            i = end;
        } else {
            ++i;
        }
    }
    return parts;
}

// Numbers of any length, without converting them: a feed may carry a date-stamped build like 20261123001.
int compareNumbers(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return a.compare(b) < 0 ? -1 : (a == b ? 0 : 1);
}

// How the rest of the longer version weighs against nothing: a pre-release word makes it older, a non-zero
// number newer, and trailing zeros change nothing ("1.0" equals "1.0.0").
int compareRest(std::span<const VersionPart> rest) {
    for (const auto& part : rest) {
        if (!part.number) return -1;
        if (part.text != "0") return 1;
    }
    return 0;
}

}  // namespace

int Appcast::compareVersions(std::string_view a, std::string_view b) {
    const auto left = versionParts(a);
    const auto right = versionParts(b);
    const std::size_t shared = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const auto& l = left[i];
        const auto& r = right[i];
        if (l.number != r.number) return l.number ? 1 : -1;
        const int order = l.number ? compareNumbers(l.text, r.text) : l.text.compare(r.text);
        if (order != 0) return order < 0 ? -1 : 1;
    }
    if (left.size() > shared) return compareRest(std::span(left).subspan(shared));
    if (right.size() > shared) return -compareRest(std::span(right).subspan(shared));
    return 0;
}

std::optional<std::string> Appcast::unusable(const Item& item) {
    if (versionParts(item.version).empty()) return tr("The update has no version");
    if (item.url.empty()) return tr("The update has no download");
    if (!item.length || *item.length == 0) return tr("The update has no size");
    if (*item.length > largestPackage) return tr("The update is too large");
    if (item.signature.empty()) return tr("The update isn’t signed");
    return std::nullopt;
}

std::optional<Appcast::Item> Appcast::newest(std::span<const Item> items, std::string_view running) {
    const Item* best = nullptr;
    for (const auto& item : items) {
        if (unusable(item) || compareVersions(item.version, running) <= 0) continue;
        if (!best || compareVersions(item.version, best->version) > 0) best = &item;
    }
    if (!best) return std::nullopt;
    return *best;
}

Appcast::Outcome Appcast::decide(std::span<const Item> items, std::string_view running) {
    if (items.empty()) return {.update = std::nullopt, .error = tr("The update feed lists no versions")};
    const bool anyUsable =
        std::any_of(items.begin(), items.end(), [](const Item& item) { return !unusable(item); });
    if (!anyUsable) return {.update = std::nullopt, .error = unusable(items.front())};
    return {.update = newest(items, running), .error = std::nullopt};
}

void Appcast::record(UpdaterState& state, const Outcome& outcome, std::string_view running, Instant now) {
    if (outcome.error) {
        state.cycleFinished(checkFailedCode, now);
        return;
    }
    if (outcome.update) {
        state.updateFound(displayVersion(*outcome.update), isCritical(*outcome.update, running));
        state.cycleFinished(std::nullopt, now);
    } else {
        state.noUpdateFound();
        state.cycleFinished(UpdaterState::noUpdateFoundCode, now);
    }
}

bool Appcast::isCritical(const Item& item, std::string_view running) {
    if (!item.critical) return false;
    return item.criticalBelow.empty() || compareVersions(running, item.criticalBelow) < 0;
}

std::string Appcast::displayVersion(const Item& item) {
    return item.shortVersion.empty() ? item.version : item.shortVersion;
}

bool Appcast::checkDue(std::optional<Instant> lastCheck, bool lastFailed, Instant now) {
    if (!lastCheck || !std::isfinite(*lastCheck)) return true;
    return now - *lastCheck >= (lastFailed ? retryInterval : checkInterval) || *lastCheck > now;
}

namespace {

std::optional<std::vector<unsigned char>> decodeBase64(std::string_view text) {
    std::vector<unsigned char> bytes(text.size() / 4 * 3 + 3);
    std::size_t length = 0;
    const char* end = nullptr;
    if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), " \t\r\n", &length, &end,
                          sodium_base64_VARIANT_ORIGINAL) != 0 ||
        end != text.data() + text.size()) {
        return std::nullopt;
    }
    bytes.resize(length);
    return bytes;
}

}  // namespace

std::optional<UpdateVerification::PublicKey> UpdateVerification::publicKey(std::string_view base64) {
    static_assert(publicKeySize == crypto_sign_PUBLICKEYBYTES);
    auto key = decodeBase64(base64);
    if (!key || key->size() != publicKeySize) return std::nullopt;
    return key;
}

std::optional<std::string> UpdateVerification::packageVersionProblem(
    const std::optional<std::string>& packageVersion, std::string_view announced, std::string_view running) {
    std::string_view version = packageVersion ? std::string_view(*packageVersion) : std::string_view();
    if (const auto colon = version.find(':'); colon != std::string_view::npos)
        version.remove_prefix(colon + 1);
    if (const auto dash = version.rfind('-'); dash != std::string_view::npos)
        version = version.substr(0, dash);
    if (versionParts(version).empty()) return tr("The downloaded package doesn’t say which version it is");
    const auto fill = [&](std::string text) {
        text.replace(text.find("{package}"), 9, version);
        if (const auto at = text.find("{running}"); at != std::string::npos) text.replace(at, 9, running);
        if (const auto at = text.find("{announced}"); at != std::string::npos)
            text.replace(at, 11, announced);
        return text;
    };
    if (Appcast::compareVersions(version, running) < 0)
        return fill(
            tr("The downloaded package is version {package}, older than the running {running}, so it "
               "wasn’t installed"));
    if (Appcast::compareVersions(version, announced) != 0)
        return fill(tr("The downloaded package is version {package}, not the announced {announced}"));
    return std::nullopt;
}

std::optional<std::string> UpdateVerification::verify(std::span<const unsigned char> bytes,
                                                      std::uint64_t expectedLength,
                                                      std::string_view signatureBase64,
                                                      const PublicKey& key) {
    if (bytes.size() != expectedLength) return tr("The download isn’t the announced size");
    if (sodium_init() < 0) return tr("The download couldn’t be checked");
    const auto signature = decodeBase64(signatureBase64);
    if (!signature || signature->size() != crypto_sign_BYTES || key.size() != publicKeySize ||
        crypto_sign_verify_detached(signature->data(), bytes.data(), bytes.size(), key.data()) != 0) {
        return tr("The download’s signature isn’t valid");
    }
    return std::nullopt;
}

}  // namespace torvel
