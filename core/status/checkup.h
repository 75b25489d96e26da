#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "battery/system_lock.h"
#include "extras/login_item.h"
#include "extras/updater.h"
#include "service/charge_settings.h"

namespace torvel {

// Whether everything is in place: seven pieces of the installation, each with a level and a word, rolled up
// into one level, a headline and at most one fix.
class Checkup {
  public:
    // In the order of the rows and of the search for the first problem.
    // `control`: whether the battery takes the limit as asked and no other program sets it too.
    enum class Piece { service, verified, control, login, led, history, updates };
    // From best to worst; `off` is deliberate and not a problem.
    enum class Level { ok, off, todo, broken };

    struct Reading {
        Piece piece;
        Level level;
        std::string word;
        bool operator==(const Reading&) const = default;
    };

    struct Fix {
        // What the button does; the app maps each to its operation.
        enum class Action {
            checkForUpdates,  // a user-initiated update check
            openLoginItems,   // the system's settings for applications started at login
            approveService,   // the charge service's own way to its approval
            installService,   // install the service, then synchronise the service state
            openMac,          // the Mac page of the main window
        };
        std::string title;
        Action action;
        bool operator==(const Fix&) const = default;
    };

    static constexpr std::array<Piece, 7> pieces{Piece::service, Piece::verified, Piece::control,
                                                 Piece::login,   Piece::led,      Piece::history,
                                                 Piece::updates};

    Checkup(const ChargeSettingsState& settings, ServiceState serviceState, const SystemLock& lock,
            LoginItem::Status login, const UpdaterState& updates);

    Reading reading(Piece piece) const;
    std::array<Reading, 7> readings() const;
    Level level() const;
    int todoCount() const;
    // The first piece at the overall level, so a broken piece wins over an earlier one to do.
    std::optional<Piece> firstProblem() const;
    std::string summary() const;
    std::optional<Fix> fix() const;

    // The row titles of the Mac page.
    static std::string title(Piece piece);

  private:
    bool writeError_;
    ServiceState serviceState_;
    bool systemLocked_;
    std::optional<bool> gateVerified_;
    // Whether the service has published a status at all: before it has, nothing is known of the control.
    bool published_;
    bool chargeError_;
    std::optional<OtherWriter::Program> otherWriter_;
    std::optional<int> nativeLimit_;
    LoginItem::Status login_;
    bool led_;
    // Absent until the service has published a status: a fresh install knows nothing of the light yet.
    std::optional<bool> ledSupported_;
    bool history_;
    UpdaterState updates_;
};

std::string_view name(Checkup::Piece piece);
std::string_view name(Checkup::Level level);

}  // namespace torvel
