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
#include "service/settings_rules.h"
#include "service_clock.h"

namespace torvel::daemon {

// The service apart from its event loop: owns the controller and every file, and answers the remote
// calls once they are authorised. Each entry point takes `now` from both clocks, so tests drive it without
// a clock and leap the wall clock at will.
class ChargeService {
  public:
    static constexpr double counterSaveEvery = 300;

    struct Identity {
        std::string version;
        std::string executablePath;
    };

    // Without a `lookout`, the machine's own (UPower, TLP, KDE) names whoever else writes the charge
    // controls.
    ChargeService(const Paths& paths, PowerDevice& device, Identity identity, Moment startedAt,
                  std::unique_ptr<WriterLookout> lookout = nullptr);

    void tick(Moment now);
    // Start, resume, battery added: look at the hardware afresh and rewrite everything.
    void reapply(Moment now);
    void shutdown(Moment now);
    // The machine is about to sleep: nothing may run on unwatched (a forced discharge goes back to auto).
    void prepareForSleep(Moment now);

    // Reads config.json again and applies it (SIGHUP: an administrator edited the file).
    void reload(Moment now);

    bool needsAdministrator(const SettingsUpdate& update) const {
        return update.needsAdministrator(controller_.settings());
    }
    // A refused message changes nothing and is answered with its refusal.
    CallReply applySettings(const SettingsUpdate& update, Moment now);
    CallReply purgeAllData(Moment now);
    CallReply releaseCharge(Moment now);

    const ChargeController& controller() const { return controller_; }
    // Nothing in motion: no discharge, calibration or top-up under way and nothing changed on the last
    // tick, so the service may look less often and let the power-supply events wake it.
    bool settled() const { return settled_; }
    void log(Moment now, std::string_view text) { log_.write(now.wall, text); }

  private:
    void publish(Moment now);
    void record(const PublishedStatus& status, Moment now, std::string& error);
    void saveMemory(Moment now, bool force);
    void storeOwnChange(Moment now);

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
    JournalClock journalClock_;
    std::unique_ptr<WriterLookout> lookout_;
    ChargeController controller_;
    std::optional<ControlMemory> savedMemory_;
    // Boot-clock time.
    double memorySavedAt_ = 0;
    // After a purge nothing is written again until new settings arrive: the caller is removing us.
    bool purged_ = false;
    bool settled_ = false;
    std::string lastFileError_;
};

}  // namespace torvel::daemon
