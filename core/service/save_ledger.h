#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace torvel {

// Bookkeeping of settings saves. Saves reach the service strictly in order, but only the newest one may
// speak: a late answer to a save that a newer one overtook is dropped, whatever it says.
class SaveLedger {
  public:
    struct Ticket {
        std::uint64_t generation = 0;
        bool installedAtStart = false;  // whether the service was installed when the save began
    };

    // What a finished save leaves behind.
    struct Outcome {
        std::optional<std::string> writeError;
        bool settingsAwaitingService = false;
    };

    Ticket begin(bool daemonInstalled);

    // Applies a save's result (absent means success) to `outcome` unless a newer save was begun since.
    // Returns whether the result was applied.
    bool finish(const Ticket& ticket, const std::optional<std::string>& result, Outcome& outcome) const;

    std::uint64_t generation() const { return generation_; }

  private:
    std::uint64_t generation_ = 0;
};

// The end of one apply: when the call failed, the settings are written to config.json directly, and that
// write succeeding counts as the save done. Otherwise the call's own error stands.
std::optional<std::string> settleApply(const std::optional<std::string>& callError,
                                       const std::function<bool()>& writeConfigDirectly);

}  // namespace torvel
