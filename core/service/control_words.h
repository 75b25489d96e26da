#pragma once

#include <string>
#include <string_view>

namespace torvel {

// What the charge service answers when it stored the settings but the battery would not hold them as asked.
struct ControlWords {
    // The write failed: nothing the battery holds changed. `failure` is the service's own account.
    static std::string notHeld(std::string_view failure);
    // The driver took another end threshold than the limit (rounded, clamped, or the nearest it accepts).
    static std::string heldInstead(int asked, int held);
};

// What the app says while it installs, replaces or removes the charge service, and when the system refuses.
struct ServiceWorkWords {
    enum class Work { install, migrate, update, reinstall, removeEverything, resetCounter };
    static std::string progress(Work work);
    static std::string notAllowed();
    // The replacement could not run by itself; the command shown beneath does it by hand.
    static std::string migrationFallback();
};

}  // namespace torvel
