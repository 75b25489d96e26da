#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "call_reply.h"
#include "common/dates.h"
#include "common/paths.h"
#include "control/controller.h"
#include "files/config_store.h"
#include "files/journal_writer.h"
#include "files/service_log.h"
#include "files/state_store.h"
#include "files/status_publisher.h"

namespace torvel::daemon {

// The service apart from its event loop: owns the controller and every file, and answers the remote
// calls once they are authorised. Each entry point takes `now`, so tests drive it without a clock.
class ChargeService {
  public:
    static constexpr double counterSaveEvery = 300;

    struct Identity {
        std::string version;
        std::string executablePath;
    };

    // Without a `lookout`, the machine's own (UPower, TLP, KDE) names whoever else writes the charge
    // controls.
    ChargeService(const Paths& paths, PowerDevice& device, Identity identity, Instant startedAt,
                  std::unique_ptr<WriterLookout> lookout = nullptr);

    void tick(Instant now);
    // Start, resume, battery added: look at the hardware afresh and rewrite everything.
    void reapply(Instant now);
    void shutdown(Instant now);

    // Reads config.json again and applies it (SIGHUP: an administrator edited the file).
    void reload(Instant now);

    bool isProtectedChange(std::string_view message) const {
        return daemon::isProtectedChange(message, controller_.settings());
    }
    CallReply applySettings(std::string_view message, Instant now);
    CallReply purgeAllData(Instant now);
    CallReply releaseCharge(Instant now);

    const ChargeController& controller() const { return controller_; }
    // Nothing in motion: no discharge, calibration or top-up under way and nothing changed on the last
    // tick, so the service may look less often and let the power-supply events wake it.
    bool settled() const { return settled_; }
    void log(Instant now, std::string_view text) { log_.write(now, text); }

  private:
    void publish(Instant now);
    void saveMemory(Instant now, bool force);
    void storeOwnChange(Instant now);

    Paths paths_;
    Identity identity_;
    Instant startedAt_;
    // Time of the entry point being served, for the controller's log lines.
    Instant lastNow_;
    ServiceLog log_;
    ConfigStore config_;
    StateStore state_;
    StatusPublisher status_;
    JournalWriter journal_;
    std::unique_ptr<WriterLookout> lookout_;
    ChargeController controller_;
    std::optional<ControlMemory> savedMemory_;
    Instant memorySavedAt_ = 0;
    // After a purge nothing is written again until new settings arrive: the caller is removing us.
    bool purged_ = false;
    bool settled_ = false;
    std::string lastFileError_;
};

}  // namespace torvel::daemon
