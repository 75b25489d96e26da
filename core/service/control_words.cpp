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

}  // namespace torvel
