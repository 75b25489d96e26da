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
    const std::pair<const char*, const char*> olderNewer[] = {
        {"1.9", "1.10"},     {"1.2", "1.2.1"},     {"1.2b1", "1.2"},
        {"1.2b2", "1.2b10"}, {"1.2-rc1", "1.2.1"}, {"99999999999999999999", "100000000000000000000"},
    };
    for (const auto& [older, newer] : olderNewer) {
        EXPECT_LT(Appcast::compareVersions(older, newer), 0) << older << " < " << newer;
        EXPECT_GT(Appcast::compareVersions(newer, older), 0) << newer << " > " << older;
    }
    EXPECT_EQ(Appcast::compareVersions("1.0", "1.0.0"), 0);
    EXPECT_EQ(Appcast::compareVersions("1.02", "1-2"), 0);
}

TEST(AppcastDecide, NewestUsableItemAboveTheRunningVersion) {
    Item unsigned_ = usable("9.0");
    unsigned_.signature.clear();
    Item huge = usable("8.0");
    huge.length = Appcast::largestPackage + 1;
    struct Case {
        const char* what;
        std::vector<Item> items;
        std::optional<std::string> found;
        std::optional<std::string> error;
    };
    const Case cases[] = {
        {"empty feed", {}, std::nullopt, "The update feed lists no versions"},
        {"only older ones", {usable("1.2"), usable("0.9")}, std::nullopt, std::nullopt},
        {"feed order does not matter", {usable("1.3"), usable("1.10"), usable("1.4")}, "1.10", std::nullopt},
        {"unusable newer ones are passed over", {unsigned_, huge, usable("1.3")}, "1.3", std::nullopt},
        {"nothing usable is a broken feed", {unsigned_, huge}, std::nullopt, "The update isn’t signed"},
    };
    for (const auto& c : cases) {
        const auto outcome = Appcast::decide(c.items, "1.2");
        EXPECT_EQ(outcome.update ? std::optional(outcome.update->version) : std::nullopt, c.found) << c.what;
        EXPECT_EQ(outcome.error, c.error) << c.what;
    }
}

TEST(AppcastRecord, EachOutcomeEndsTheCheckWithItsWords) {
    const Instant now = 1'741'341'600;  // 2025-03-07
    Item critical = usable("1042", "1.4");
    critical.critical = true;
    Item criticalBelow = critical;
    criticalBelow.criticalBelow = "1.0";  // the running version is not older
    struct Case {
        const char* what;
        Appcast::Outcome outcome;
        const char* status;
    };
    const Case cases[] = {
        {"found", {usable("1042", "1.4"), std::nullopt}, "Version 1.4 is available"},
        {"found critical", {critical, std::nullopt}, "This version should be replaced"},
        {"critical only below this version", {criticalBelow, std::nullopt}, "Version 1.4 is available"},
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
    EXPECT_TRUE(Appcast::checkDue(std::nullopt, false, now));
    EXPECT_FALSE(Appcast::checkDue(now - Appcast::checkInterval + 60, false, now));
    EXPECT_TRUE(Appcast::checkDue(now - Appcast::checkInterval, false, now));
    EXPECT_TRUE(Appcast::checkDue(now - Appcast::retryInterval, true, now));
    EXPECT_TRUE(Appcast::checkDue(now + 3600, false, now));
}

std::string base64(std::span<const unsigned char> bytes) {
    std::string text(sodium_base64_ENCODED_LEN(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), sodium_base64_VARIANT_ORIGINAL);
    text.resize(text.find('\0'));
    return text;
}

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
    KeyPair() {
        EXPECT_GE(sodium_init(), 0);
        crypto_sign_keypair(publicKey.data(), secretKey.data());
    }
    std::string sign(std::span<const unsigned char> bytes) const {
        std::array<unsigned char, crypto_sign_BYTES> signature{};
        crypto_sign_detached(signature.data(), nullptr, bytes.data(), bytes.size(), secretKey.data());
        return base64(signature);
    }
};

TEST(UpdateVerification, APackagesOwnVersionIsReadWithoutEpochOrRevision) {
    EXPECT_EQ(UpdateVerification::packageVersionProblem("1:1.4-2", "1.4", "1.2"), std::nullopt);
    EXPECT_EQ(UpdateVerification::packageVersionProblem("1.4.0", "1.4", "1.2"), std::nullopt);
    EXPECT_EQ(UpdateVerification::packageVersionProblem("1.1-1", "1.1", "1.2"),
              "The downloaded package is version 1.1, older than the running 1.2, so it wasn’t installed");
    EXPECT_EQ(UpdateVerification::packageVersionProblem(std::nullopt, "1.4", "1.2"),
              "The downloaded package doesn’t say which version it is");
}

TEST(UpdateVerification, AcceptsOnlyTheAnnouncedLengthSignedByOurKey) {
    const KeyPair ours;
    const auto key = UpdateVerification::publicKey(base64(ours.publicKey));
    ASSERT_TRUE(key);
    EXPECT_EQ(UpdateVerification::publicKey(base64(ours.publicKey).substr(4)), std::nullopt);

    const std::vector<unsigned char> package(4096, 0x5a);
    std::vector<unsigned char> tampered = package;
    tampered[100] ^= 1;
    const std::string good = ours.sign(package);
    const std::string size = "The download isn’t the announced size";
    const std::string invalid = "The download’s signature isn’t valid";
    struct Case {
        const char* what;
        const std::vector<unsigned char>& bytes;
        std::uint64_t length;
        std::string signature;
        std::optional<std::string> error;
    };
    const Case cases[] = {
        {"as published", package, package.size(), good, std::nullopt},
        {"shorter than announced", package, package.size() + 1, good, size},
        {"one bit changed", tampered, tampered.size(), good, invalid},
        {"signed by another key", package, package.size(), KeyPair().sign(package), invalid},
        {"signature not base64", package, package.size(), "not base64!", invalid},
        {"signature truncated", package, package.size(), good.substr(0, 40), invalid},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UpdateVerification::verify(c.bytes, c.length, c.signature, *key), c.error) << c.what;
    }
}

}  // namespace
}  // namespace torvel
