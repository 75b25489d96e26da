#include "language.h"

#include <algorithm>
#include <string_view>

namespace torvel::l10n {
namespace {

void addVariants(std::string_view locale, std::vector<std::string>& out) {
    locale = locale.substr(0, locale.find_first_of(".@"));
    if (locale.empty() || locale == "C" || locale == "POSIX") return;
    const auto add = [&out](std::string_view id) {
        if (std::find(out.begin(), out.end(), id) == out.end()) out.emplace_back(id);
    };
    add(locale);
    const auto territory = locale.find('_');
    if (territory != std::string_view::npos) add(locale.substr(0, territory));
}

}  // namespace

std::vector<std::string> wantedLanguages(const Environment& environment,
                                         const std::optional<std::string>& override) {
    std::vector<std::string> wanted;
    if (override) addVariants(*override, wanted);
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (auto value = environment(name); value && !value->empty()) {
            locale = *value;
            break;
        }
    }
    const std::string_view base = std::string_view(locale).substr(0, locale.find_first_of(".@"));
    if (locale.empty() || base == "C" || base == "POSIX") return wanted;
    if (auto list = environment("LANGUAGE")) {
        std::string_view rest = *list;
        while (!rest.empty()) {
            const auto colon = rest.find(':');
            addVariants(rest.substr(0, colon), wanted);
            rest = colon == std::string_view::npos ? std::string_view{} : rest.substr(colon + 1);
        }
    }
    addVariants(locale, wanted);
    return wanted;
}

std::string chooseLanguage(const std::vector<std::string>& wanted,
                           const std::function<bool(const std::string&)>& available) {
    for (const auto& language : wanted) {
        if (language == "pseudo" || available(language)) return language;
    }
    return "en";
}

}  // namespace torvel::l10n
