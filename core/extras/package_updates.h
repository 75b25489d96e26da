#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace torvel {

// Where this copy of Torvel gets its updates: the package manager when it came from a repository, the signed
// feed when its package was installed by hand, nothing for a build run from its source tree.
enum class UpdateSource { repository, vendorFeed, none };

struct PackageUpdates {
    static constexpr std::string_view packageName = "torvel";

    // Whether `apt-cache policy torvel`, run in the C locale, shows the package installed (dpkg's record)
    // and known to at least one origin besides dpkg's own status file. A package installed by hand has that
    // file as its only origin, and no repository would ever offer it an update.
    static bool fromRepository(std::string_view aptPolicy);
    // A feed is only worth asking when the build carries its address and key.
    static UpdateSource source(bool fromRepository, bool feedConfigured);
    // The override a packager or a test gives in TORVEL_UPDATE_SOURCE: "repository", "feed" or "none".
    static std::optional<UpdateSource> sourceNamed(std::string_view name);

    // PackageKit's "name;version;arch;data".
    struct PackageId {
        std::string name;
        std::string version;
        bool operator==(const PackageId&) const = default;
    };
    static std::optional<PackageId> parseId(std::string_view id);
    // Of the ids an update listing announced, the newest one of Torvel's package, if any.
    static std::optional<std::string> newestOfOurs(std::span<const std::string> ids);
    // The version a user reads: the upstream part, without an epoch or the Debian revision.
    static std::string displayVersion(std::string_view packageVersion);
};

// Why a check or an installation did not end as hoped, as the updater tells it. The system's own text, when
// there is one, is shown beneath the sentence, never glued into it.
enum class UpdateProblem {
    notSetUp,           // a build from source: no package, no feed
    packageKitMissing,  // nothing answers for PackageKit on the system bus
    tooSlow,            // the total deadline passed
    checkFailed,
    notAllowed,  // polkit said no, or the password was not given
    cancelled,
    installFailed,
    nothingToInstall,
};

// What stopped the signed feed's way: reading the feed, downloading the package, or handing it over to
// PackageKit.
enum class FeedFailure {
    noAnswer,
    untrustedCertificate,
    insecureRedirect,
    serverError,  // with the HTTP status code
    unreachable,
    unreadable,
    wrongSize,
    packageKitMissing,
    notAllowed,
    alreadyInstalling,
    installFailed,  // without a word from PackageKit
    cancelled,
};

struct UpdateActionWords {
    static std::string problem(UpdateProblem problem);
    static std::string feedFailure(FeedFailure failure, int httpStatus = 0);
    // PackageKit's own sentence of why the installation failed, kept as it gave it.
    static std::string installFailed(std::string_view detail);
    static std::string checkTitle(bool checking);
    static std::string installTitle(bool installing);
    // `percent` absent while the package manager cannot say how far it is.
    static std::string installing(std::optional<int> percent);
    static std::string installed(std::string_view version);
    static std::string automaticLabel();
    // What the updater asks and of whom; absent `source` while it is not yet known.
    static std::string help(std::optional<UpdateSource> source, std::string_view feedHost);
};

}  // namespace torvel
