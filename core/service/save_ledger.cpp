#include "service/save_ledger.h"

#include <cstdlib>
#include <limits>

namespace torvel {

SaveLedger::Ticket SaveLedger::begin(bool daemonInstalled) {
    // Wrapping around would let an ancient save's answer pass for the newest one.
    if (generation_ == std::numeric_limits<std::uint64_t>::max()) std::abort();
    return Ticket{.generation = ++generation_, .installedAtStart = daemonInstalled};
}

bool SaveLedger::finish(const Ticket& ticket, const std::optional<std::string>& result,
                        Outcome& outcome) const {
    if (ticket.generation != generation_) return false;
    if (ticket.installedAtStart) {
        outcome.writeError = result;
    } else {
        // Without a service nobody could have taken the settings; that is not the user's problem to read
        // about, only a reason to send them again once the service is up.
        outcome.writeError.reset();
        if (result) outcome.settingsAwaitingService = true;
    }
    return true;
}

std::optional<std::string> settleApply(const std::optional<std::string>& callError,
                                       const std::function<bool()>& writeConfigDirectly) {
    if (!callError) return std::nullopt;
    if (writeConfigDirectly && writeConfigDirectly()) return std::nullopt;
    return callError;
}

}  // namespace torvel
