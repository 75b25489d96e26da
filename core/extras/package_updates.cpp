#include "extras/package_updates.h"

#include "common/texts.h"
#include "extras/appcast.h"

namespace torvel {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

bool PackageUpdates::fromRepository(std::string_view aptPolicy) {
    bool installed = false;
    bool inTable = false;
    bool otherOrigin = false;
    while (!aptPolicy.empty()) {
        const auto end = aptPolicy.find('\n');
        const std::string_view line = trimmed(aptPolicy.substr(0, end));
        aptPolicy = end == std::string_view::npos ? std::string_view{} : aptPolicy.substr(end + 1);
        if (line.starts_with("Installed:")) {
            const auto version = trimmed(line.substr(10));
            installed = !version.empty() && version != "(none)";
        } else if (line == "Version table:") {
            inTable = true;
        } else if (inTable && !line.empty() && !line.starts_with("***")) {
            // An origin line is a priority and a source; a version line has a version and a priority only.
            const auto space = line.find(' ');
            if (space == std::string_view::npos) continue;
            const auto rest = trimmed(line.substr(space));
            const bool isOrigin = rest.find(' ') != std::string_view::npos || rest.starts_with('/');
            if (isOrigin && rest != "/var/lib/dpkg/status") otherOrigin = true;
        }
    }
    return installed && otherOrigin;
}

UpdateSource PackageUpdates::source(bool fromRepository, bool feedConfigured) {
    if (fromRepository) return UpdateSource::repository;
    return feedConfigured ? UpdateSource::vendorFeed : UpdateSource::none;
}

std::optional<UpdateSource> PackageUpdates::sourceNamed(std::string_view name) {
    if (name == "repository") return UpdateSource::repository;
    if (name == "feed") return UpdateSource::vendorFeed;
    if (name == "none") return UpdateSource::none;
    return std::nullopt;
}

std::optional<PackageUpdates::PackageId> PackageUpdates::parseId(std::string_view id) {
    const auto first = id.find(';');
    if (first == std::string_view::npos || first == 0) return std::nullopt;
    const auto second = id.find(';', first + 1);
    if (second == std::string_view::npos || second == first + 1) return std::nullopt;
    return PackageId{std::string(id.substr(0, first)), std::string(id.substr(first + 1, second - first - 1))};
}

std::optional<std::string> PackageUpdates::newestOfOurs(std::span<const std::string> ids) {
    std::optional<std::string> newest;
    std::string newestVersion;
    for (const auto& id : ids) {
        const auto parsed = parseId(id);
        if (!parsed || parsed->name != packageName) continue;
        if (!newest || Appcast::compareVersions(parsed->version, newestVersion) > 0) {
            newest = id;
            newestVersion = parsed->version;
        }
    }
    return newest;
}

std::string PackageUpdates::displayVersion(std::string_view packageVersion) {
    if (const auto colon = packageVersion.find(':'); colon != std::string_view::npos)
        packageVersion.remove_prefix(colon + 1);
    if (const auto dash = packageVersion.rfind('-'); dash != std::string_view::npos && dash > 0)
        packageVersion = packageVersion.substr(0, dash);
    return std::string(packageVersion);
}

std::string UpdateActionWords::problem(UpdateProblem problem) {
    switch (problem) {
        case UpdateProblem::notSetUp:
            return tr(
                "This copy of Torvel wasn’t installed from a package, so there is nothing to update it "
                "from.");
        case UpdateProblem::packageKitMissing:
            return tr("The package manager service (PackageKit) isn’t available on this laptop.");
        case UpdateProblem::tooSlow:
            return tr("The package manager took too long to answer.");
        case UpdateProblem::checkFailed:
            return tr("The package manager couldn’t look for updates.");
        case UpdateProblem::notAllowed:
            return tr("The update wasn’t installed: permission was not given.");
        case UpdateProblem::cancelled:
            return tr("The installation was cancelled.");
        case UpdateProblem::installFailed:
            return tr("The package manager couldn’t install the update.");
        case UpdateProblem::nothingToInstall:
            return tr("There is no update to install.");
    }
    return tr("The package manager couldn’t look for updates.");
}

std::string UpdateActionWords::feedFailure(FeedFailure failure, int httpStatus) {
    switch (failure) {
        case FeedFailure::noAnswer:
            return tr("The update server didn’t answer");
        case FeedFailure::untrustedCertificate:
            return tr("The update server’s certificate isn’t trusted");
        case FeedFailure::insecureRedirect:
            return tr("The update server redirected to an insecure address");
        case FeedFailure::serverError:
            return tr("The update server answered with error %1", {std::to_string(httpStatus)});
        case FeedFailure::unreachable:
            return tr("Couldn’t reach the update server");
        case FeedFailure::unreadable:
            return tr("The update feed isn’t readable");
        case FeedFailure::wrongSize:
            return tr("The download isn’t the announced size");
        case FeedFailure::packageKitMissing:
            return tr("PackageKit isn’t available to install the update");
        case FeedFailure::notAllowed:
            return tr("You weren’t allowed to install the update");
        case FeedFailure::alreadyInstalling:
            return tr("An installation is already under way");
        case FeedFailure::cancelled:
            return tr("The installation was cancelled");
        case FeedFailure::installFailed:
            return tr("Couldn’t install the update");
    }
    return tr("Couldn’t reach the update server");
}

std::string UpdateActionWords::installFailed(std::string_view detail) {
    return tr("Couldn’t install the update: %1", {detail});
}

std::string UpdateActionWords::checkTitle(bool checking) {
    return checking ? tr("Checking") : tr("Check");
}

std::string UpdateActionWords::installTitle(bool installing) {
    return installing ? tr("Installing") : tr("Install");
}

std::string UpdateActionWords::installing(std::optional<int> percent) {
    if (!percent) return tr("Installing the update…");
    return tr("Installing the update: %1% done.", {std::to_string(*percent)});
}

std::string UpdateActionWords::installed(std::string_view version) {
    return tr("Torvel %1 is installed. It takes over the next time Torvel starts.", {version});
}

std::string UpdateActionWords::automaticLabel() {
    return tr("Check once a day");
}

std::string UpdateActionWords::help(std::optional<UpdateSource> source, std::string_view feedHost) {
    if (source == UpdateSource::repository) {
        return tr(
            "Torvel asks the package manager whether your software sources hold a newer Torvel, once a "
            "day "
            "when automatic checks are on. Nothing installs until you say yes, and the system asks for "
            "your password first.");
    }
    if (source == UpdateSource::vendorFeed) {
        return tr(
            "Torvel asks %1 whether a newer version exists, once a day when automatic checks are on, and "
            "nothing else: no profile of this laptop, no identifier, no usage. Nothing installs until you "
            "say "
            "yes.",
            {feedHost});
    }
    if (source == UpdateSource::none) {
        return tr(
            "This copy of Torvel was built from its sources: update it the way you built it. A Torvel "
            "installed from a package checks for updates here.");
    }
    return tr("Nothing installs until you say yes.");
}

}  // namespace torvel
