#pragma once

#include <optional>
#include <string>

namespace torvel::l10n {

// Chooses the language from the environment (or the override, --locale), installs its catalogue for core's
// look-ups and makes numbers and dates follow it. Called once by each front end before any text is built.
// Catalogues are looked for in $TORVEL_LOCALEDIR, then next to the build tree's programs, then the installed
// locale directory. Returns the language chosen.
std::string setUp(const std::optional<std::string>& override);

}  // namespace torvel::l10n
