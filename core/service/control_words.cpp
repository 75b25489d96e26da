#include "service/control_words.h"

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {

std::string ControlWords::notHeld(std::string_view failure) {
    return tr("Torvel saved your settings, but the battery didn’t take them: %1.", {failure});
}

std::string ControlWords::heldInstead(int asked, int held) {
    return tr("This laptop’s battery doesn’t take a limit of %1, so Torvel holds %2, the nearest it takes.",
              {Fmt::percent(asked), Fmt::percent(held)});
}

std::string ServiceWorkWords::progress(Work work) {
    switch (work) {
        case Work::install:
            return tr("Installing…");
        case Work::migrate:
            return tr("Replacing…");
        case Work::update:
            return tr("Updating…");
        case Work::reinstall:
            return tr("Reinstalling…");
        case Work::removeEverything:
            return tr("Removing…");
        case Work::resetCounter:
            return tr("Resetting…");
    }
    return {};
}

std::string ServiceWorkWords::notAllowed() {
    return tr("Torvel wasn’t allowed to change the charge service.");
}

std::string ServiceWorkWords::migrationFallback() {
    return tr(
        "macOS didn’t let Torvel replace the service by itself. The line below does the same thing in the "
        "Terminal.");
}

}  // namespace torvel
