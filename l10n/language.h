#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace torvel::l10n {

using Environment = std::function<std::optional<std::string>(const char* name)>;

// The languages to try, best first, as gettext reads the environment: LANGUAGE (a colon-separated list)
// unless the locale is C or POSIX, then the first of LC_ALL, LC_MESSAGES and LANG that is set. An override
// (--locale) comes before all of them. Each is given as ll_CC then ll, without codeset or modifier:
// "de_DE.UTF-8@euro" gives "de_DE", "de".
std::vector<std::string> wantedLanguages(const Environment& environment,
                                         const std::optional<std::string>& override);

// The language whose texts are shown: the first wanted one that has a catalogue in `available`, else "en",
// the Linux English every locale without its own catalogue reads. "pseudo" is the marked English tests ask
// for.
std::string chooseLanguage(const std::vector<std::string>& wanted,
                           const std::function<bool(const std::string&)>& available);

}  // namespace torvel::l10n
