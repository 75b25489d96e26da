#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/dates.h"
#include "common/texts.h"
// By its folder-relative name: the app has an extras/updater.h of its own that would be found first.
#include "extras/updater.h"

namespace torvel {

// The update feed as the checker decides on it. The app parses the XML and hands over plain items, so every
// decision below is tested without a network or a parser.
struct Appcast {
    struct Item {
        std::string version;       // compared against the running version
        std::string shortVersion;  // what the user reads; may be empty
        bool critical = false;
        // When set, the item is critical only for running versions older than this one.
        std::string criticalBelow;
        std::string url;
        std::optional<std::uint64_t> length;
        std::string signature;  // base64 Ed25519 signature of the package's bytes

        bool operator==(const Item&) const = default;
    };

    // Why an item cannot be offered: absent when it can.
    static std::optional<std::string> unusable(const Item& item);
    // The newest usable item newer than `running`, if any.
    static std::optional<Item> newest(std::span<const Item> items, std::string_view running);
    // What one check found: an update, nothing newer, or why the feed cannot be used (a feed without a single
    // usable item is broken, not up to date).
    struct Outcome {
        std::optional<Item> update;
        std::optional<std::string> error;
    };
    static Outcome decide(std::span<const Item> items, std::string_view running);

    // Applies one finished check to the updater's state. A failed check keeps an update found before: it is
    // still there to install.
    static void record(UpdaterState& state, const Outcome& outcome, std::string_view running, Instant now);
    static constexpr long checkFailedCode = -1;

    // Whether the found item must replace `running` urgently.
    static bool isCritical(const Item& item, std::string_view running);
    static std::string displayVersion(const Item& item);

    // Negative, zero or positive as `a` is older than, the same as or newer than `b`. Digits compare as
    // numbers, and letters after a release mark a pre-release of it ("1.2b1" < "1.2" < "1.2.1").
    static int compareVersions(std::string_view a, std::string_view b);

    // Whether the automatic check is due: once a day, or an hour after a check that failed so a laptop that
    // was offline does not wait a day. A last check in the future means the clock went back: check rather
    // than wait out the difference.
    static bool checkDue(std::optional<Instant> lastCheck, bool lastFailed, Instant now);
    static constexpr Instant checkInterval = 24 * 60 * 60;
    static constexpr Instant retryInterval = 60 * 60;

    // A check that has not ended by its deadline, however steadily the bytes arrive.
    static constexpr std::string_view checkTooSlow =
        trNoop("The update server took too long to send the feed");

    // Packages larger than this are refused before any byte is fetched.
    static constexpr std::uint64_t largestPackage = 256ull * 1024 * 1024;
};

// The rule a downloaded package must pass before anything installs it.
struct UpdateVerification {
    static constexpr std::size_t publicKeySize = 32;
    static constexpr std::string_view cannotSave = "The update couldn’t be saved for installing";
    using PublicKey = std::vector<unsigned char>;

    // A base64 public key as the build carries it; absent unless it decodes to exactly one Ed25519 key.
    static std::optional<PublicKey> publicKey(std::string_view base64);

    // The signature covers the bytes, not the version the feed gives them: an old signed package relabelled
    // as new verifies. Absent when the package's own version (from its control data; absent when
    // unreadable) is the one `announced`, and not older than `running`. An epoch and a Debian revision
    // are not part of what the feed announces.
    static std::optional<std::string> packageVersionProblem(const std::optional<std::string>& packageVersion,
                                                            std::string_view announced,
                                                            std::string_view running);

    // Absent when the bytes are exactly as long as announced and the signature over them verifies.
    static std::optional<std::string> verify(std::span<const unsigned char> bytes,
                                             std::uint64_t expectedLength, std::string_view signatureBase64,
                                             const PublicKey& key);
};

}  // namespace torvel
