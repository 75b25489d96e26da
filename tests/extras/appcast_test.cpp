#include "extras/appcast.h"

#include <gtest/gtest.h>
#include <sodium.h>

#include <array>

namespace torvel {
namespace {

using Item = Appcast::Item;

Item usable(std::string version, std::string shortVersion = {}) {
    Item item;
    item.version = std::move(version);
    item.shortVersion = std::move(shortVersion);
    item.url = "https://torvel.example/torvel.deb";
    item.length = 1000;
    item.signature = "c2lnbmF0dXJl";
    return item;
}

TEST(AppcastVersions, OrderReleasesPreReleasesAndLongNumbers) {
    struct Case {
        const char* older;
        const char* newer;
    };
    const Case cases[] = {
        {"1.9", "1.10"},      {"1.2", "1.2.1"},
        {"1.2b1", "1.2"},     {"1.2a", "1.2b"},
        {"1.2b2", "1.2b10"},  {"0.9.9", "1.0"},
        {"1.2b1", "1.2.0.1"}, {"99999999999999999999", "100000000000000000000"},
        {"1.2-rc1", "1.2.1"}, {"", "0.1"},
    };
    for (const auto& [older, newer] : cases) {
        EXPECT_LT(Appcast::compareVersions(older, newer), 0) << older << " < " << newer;
        EXPECT_GT(Appcast::compareVersions(newer, older), 0) << newer << " > " << older;
    }
    const std::pair<const char*, const char*> same[] = {{"1.0", "1.0.0"}, {"1.02", "1.2"}, {"1-2", "1.2"}};
    for (const auto& [a, b] : same) EXPECT_EQ(Appcast::compareVersions(a, b), 0) << a << " = " << b;
}

TEST(AppcastNewest, PicksTheNewestUsableItemAboveTheRunningVersion) {
    Item unsigned_ = usable("9.0");
    unsigned_.signature.clear();
    Item noLength = usable("8.0");
    noLength.length.reset();
    Item huge = usable("7.0");
    huge.length = Appcast::largestPackage + 1;
    Item noUrl = usable("6.0");
    noUrl.url.clear();
    struct Case {
        const char* what;
        std::vector<Item> items;
        std::optional<std::string> found;
    };
    const Case cases[] = {
        {"empty feed", {}, std::nullopt},
        {"only the running version", {usable("1.2")}, std::nullopt},
        {"only older ones", {usable("1.1"), usable("0.9")}, std::nullopt},
        {"feed order does not matter", {usable("1.3"), usable("1.10"), usable("1.4")}, "1.10"},
        {"unusable newer ones are passed over", {unsigned_, noLength, huge, noUrl, usable("1.3")}, "1.3"},
        {"nothing usable", {unsigned_, noLength}, std::nullopt},
    };
    for (const auto& c : cases) {
        const auto found = Appcast::newest(c.items, "1.2");
        EXPECT_EQ(found ? std::optional(found->version) : std::nullopt, c.found) << c.what;
    }
}

TEST(AppcastNewest, ShowsTheShortVersionWhenThereIsOne) {
    EXPECT_EQ(Appcast::displayVersion(usable("1042", "1.4")), "1.4");
    EXPECT_EQ(Appcast::displayVersion(usable("1.4")), "1.4");
}

TEST(AppcastCritical, MarkOptionallyLimitedToOlderVersions) {
    struct Case {
        bool critical;
        const char* below;
        const char* running;
        bool expected;
    };
    const Case cases[] = {
        {false, "", "1.0", false},   {true, "", "1.0", true},       {true, "1.1", "1.0", true},
        {true, "1.1", "1.1", false}, {true, "1.1", "1.1.1", false}, {false, "2.0", "1.0", false},
    };
    for (const auto& c : cases) {
        Item item = usable("2.0");
        item.critical = c.critical;
        item.criticalBelow = c.below;
        EXPECT_EQ(Appcast::isCritical(item, c.running), c.expected) << c.running << " below " << c.below;
    }
}

TEST(AppcastDecide, ABrokenFeedIsNotUpToDate) {
    Item unsigned_ = usable("9.0");
    unsigned_.signature.clear();
    EXPECT_EQ(Appcast::decide({}, "1.2").error, "The update feed lists no versions");
    EXPECT_EQ(Appcast::decide(std::vector{unsigned_}, "1.2").error, "The update isn’t signed");
    const std::vector older{usable("1.0"), unsigned_};
    const auto upToDate = Appcast::decide(older, "1.2");
    EXPECT_EQ(upToDate.error, std::nullopt);
    EXPECT_EQ(upToDate.update, std::nullopt);
    EXPECT_EQ(Appcast::decide(std::vector{usable("1.3")}, "1.2").update, usable("1.3"));
}

TEST(AppcastRecord, EachOutcomeEndsTheCheckWithItsWords) {
    const Instant now = 1'741'341'600;  // 2025-03-07
    Item critical = usable("1042", "1.4");
    critical.critical = true;
    struct Case {
        const char* what;
        Appcast::Outcome outcome;
        const char* status;
    };
    const Case cases[] = {
        {"found", {usable("1042", "1.4"), std::nullopt}, "Version 1.4 is available"},
        {"found critical", {critical, std::nullopt}, "This version should be replaced"},
        {"nothing newer clears an earlier find",
         {std::nullopt, std::nullopt},
         "Up to date, checked Mar 7, 2025"},
        {"failed keeps an earlier find",
         {std::nullopt, "The update feed isn’t readable"},
         "Version 0.9 is available"},
    };
    for (const auto& c : cases) {
        UpdaterState state;
        state.automatic = true;
        state.checking = true;
        state.updateFound("0.9", false);
        Appcast::record(state, c.outcome, "1.0", now);
        EXPECT_FALSE(state.checking) << c.what;
        EXPECT_EQ(state.lastCheck, now) << c.what;
        EXPECT_EQ(state.unreachable, c.outcome.error.has_value()) << c.what;
        EXPECT_EQ(UpdateWords::status(state, "en"), c.status) << c.what;
    }
}

TEST(AppcastSchedule, DueOnceADaySoonerAfterAFailureAndWhenTheClockWentBack) {
    const Instant now = 1'763'900'000;
    struct Case {
        std::optional<Instant> last;
        bool failed;
        bool due;
    };
    const Case cases[] = {
        {std::nullopt, false, true},
        {now - Appcast::checkInterval + 60, false, false},
        {now - Appcast::checkInterval, false, true},
        {now - Appcast::retryInterval + 60, true, false},
        {now - Appcast::retryInterval, true, true},
        {now + 3600, false, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Appcast::checkDue(c.last, c.failed, now), c.due)
            << c.last.value_or(0) - now << " " << c.failed;
    }
}

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
    KeyPair() {
        EXPECT_GE(sodium_init(), 0);
        crypto_sign_keypair(publicKey.data(), secretKey.data());
    }
    UpdateVerification::PublicKey key() const { return {publicKey.begin(), publicKey.end()}; }
    std::string sign(std::span<const unsigned char> bytes) const {
        std::array<unsigned char, crypto_sign_BYTES> signature{};
        crypto_sign_detached(signature.data(), nullptr, bytes.data(), bytes.size(), secretKey.data());
        return base64(signature);
    }
    static std::string base64(std::span<const unsigned char> bytes) {
        std::string text(sodium_base64_ENCODED_LEN(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
        sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                          sodium_base64_VARIANT_ORIGINAL);
        text.resize(text.find('\0'));
        return text;
    }
};

TEST(UpdateVerification, AcceptsOnlyTheAnnouncedLengthSignedByOurKey) {
    const KeyPair ours;
    const KeyPair theirs;
    const std::vector<unsigned char> package(4096, 0x5a);
    std::vector<unsigned char> tampered = package;
    tampered[100] ^= 1;
    const std::string good = ours.sign(package);

    const std::string sizeText = "The download isn’t the announced size";
    const std::string signatureText = "The download’s signature isn’t valid";
    struct Case {
        const char* what;
        const std::vector<unsigned char>& bytes;
        std::uint64_t length;
        std::string signature;
        std::optional<std::string> error;
    };
    const Case cases[] = {
        {"as published", package, package.size(), good, std::nullopt},
        {"shorter than announced", package, package.size() + 1, good, sizeText},
        {"longer than announced", package, package.size() - 1, good, sizeText},
        {"one bit changed", tampered, tampered.size(), good, signatureText},
        {"signed by another key", package, package.size(), theirs.sign(package), signatureText},
        {"signature not base64", package, package.size(), "not base64!", signatureText},
        {"signature truncated", package, package.size(), good.substr(0, 40), signatureText},
        {"no signature", package, package.size(), "", signatureText},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UpdateVerification::verify(c.bytes, c.length, c.signature, ours.key()), c.error) << c.what;
    }
}

TEST(UpdateVerification, PublicKeyMustBeOneEd25519Key) {
    const KeyPair pair;
    const auto text = KeyPair::base64(pair.publicKey);
    EXPECT_EQ(UpdateVerification::publicKey(text), pair.key());
    EXPECT_EQ(UpdateVerification::publicKey(text.substr(0, 20)), std::nullopt);
    EXPECT_EQ(UpdateVerification::publicKey(""), std::nullopt);
    EXPECT_EQ(UpdateVerification::publicKey(text + "AAAA"), std::nullopt);
    EXPECT_EQ(UpdateVerification::publicKey("#" + text), std::nullopt);
}

}  // namespace
}  // namespace torvel
