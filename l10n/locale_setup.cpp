#include "locale_setup.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "common/fmt.h"
#include "language.h"
#include "mo_catalogue.h"

namespace torvel::l10n {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> localeDirectories() {
    std::vector<fs::path> directories;
    if (const char* chosen = std::getenv("TORVEL_LOCALEDIR"); chosen && *chosen)
        directories.emplace_back(chosen);
    // The build tree puts every program one folder below build/<preset>/locale.
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (!error) directories.push_back(self.parent_path().parent_path() / "locale");
    directories.emplace_back(TORVEL_INSTALL_LOCALEDIR);
    return directories;
}

std::optional<fs::path> catalogueFile(const std::string& language) {
    for (const auto& directory : localeDirectories()) {
        fs::path file = directory / language / "LC_MESSAGES" / "torvel.mo";
        std::error_code error;
        if (fs::is_regular_file(file, error)) return file;
    }
    return std::nullopt;
}

}  // namespace

std::string setUp(const std::optional<std::string>& override) {
    // Installed once for the life of the process: core's look-ups hold on to them.
    static std::optional<MoCatalogue> english;
    static std::optional<MoCatalogue> catalogue;
    static std::optional<FallbackCatalogue> chain;
    static std::optional<MarkedCatalogue> marked;

    const auto environment = [](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    const std::string language =
        chooseLanguage(wantedLanguages(environment, override),
                       [](const std::string& id) { return catalogueFile(id).has_value(); });
    const bool pseudo = language == "pseudo";
    if (const auto file = catalogueFile("en")) english = MoCatalogue::load(file->string());
    const Catalogue* chosen = english ? &*english : nullptr;
    if (language != "en" && !pseudo) {
        if (const auto file = catalogueFile(language)) catalogue = MoCatalogue::load(file->string());
        if (catalogue) chosen = &chain.emplace(&*catalogue, chosen);
    }
    if (pseudo) chosen = &marked.emplace(chosen);
    installCatalogue(chosen);
    Fmt::useLocale(pseudo ? "en" : language);
    return language;
}

}  // namespace torvel::l10n
