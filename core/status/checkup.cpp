#include "status/checkup.h"

#include <algorithm>

#include "common/fmt.h"
#include "common/texts.h"

namespace torvel {

using Level = Checkup::Level;
using Piece = Checkup::Piece;

Checkup::Checkup(const ChargeSettingsState& settings, ServiceState serviceState, const SystemLock& lock,
                 LoginItem::Status login, const UpdaterState& updates)
    : writeError_(settings.writeError.has_value()),
      serviceState_(serviceState),
      systemLocked_(lock.active),
      gateVerified_(settings.status.published.gateVerified),
      published_(settings.status.published.ts.has_value()),
      chargeError_(settings.status.published.chargeError.has_value()),
      nativeLimit_(settings.status.published.nativeLimit),
      login_(login),
      led_(settings.settings.led),
      ledSupported_(settings.status.published.ts ? std::optional(settings.status.published.ledSupported)
                                                 : std::nullopt),
      history_(settings.settings.history),
      updates_(updates) {
    if (const auto& other = settings.status.published.otherWriter) otherWriter_ = other->program;
}

namespace {

Checkup::Reading serviceReading(bool writeError, ServiceState state, bool systemLocked) {
    if (writeError) return {Piece::service, Level::broken, tr("Can’t write")};
    switch (state) {
        case ServiceState::notInstalled:
            // With no limit possible on this release, a missing service is not the user's to fix.
            return {Piece::service, systemLocked ? Level::off : Level::todo, tr("Not installed")};
        case ServiceState::awaitingApproval:
            return {Piece::service, Level::todo, tr("To allow")};
        case ServiceState::needsMigration:
            return {Piece::service, Level::todo, tr("To update")};
        case ServiceState::elsewhereInApplications:
            return {Piece::service, Level::off, tr("Taking it back")};
        case ServiceState::elsewhere:
            return {Piece::service, Level::todo, tr("To move")};
        case ServiceState::outdated:
            return {Piece::service, Level::todo, tr("To update")};
        case ServiceState::stale:
            return {Piece::service, Level::broken, tr("Stopped")};
        case ServiceState::unknown:
            return {Piece::service, Level::off, tr("Starting")};
        case ServiceState::running:
            return {Piece::service, Level::ok, tr("Running")};
    }
    return {Piece::service, Level::ok, tr("Running")};
}

}  // namespace

Checkup::Reading Checkup::reading(Piece piece) const {
    switch (piece) {
        case Piece::service:
            return serviceReading(writeError_, serviceState_, systemLocked_);
        case Piece::verified:
            if (systemLocked_) return {piece, Level::todo, tr("Not yet")};
            if (!gateVerified_) return {piece, Level::off, tr("Not yet")};
            return *gateVerified_ ? Reading{piece, Level::ok, tr("Verified")}
                                  : Reading{piece, Level::broken, tr("Not working")};
        case Piece::control:
            if (!published_) return {piece, Level::off, tr("Not yet")};
            if (chargeError_) return {piece, Level::broken, tr("Refused")};
            if (otherWriter_) {
                switch (*otherWriter_) {
                    case OtherWriter::Program::upower:
                        return {piece, Level::todo, tr("UPower too")};
                    case OtherWriter::Program::tlp:
                        return {piece, Level::todo, tr("TLP too")};
                    case OtherWriter::Program::kde:
                        return {piece, Level::todo, tr("KDE too")};
                    case OtherWriter::Program::unknown:
                        return {piece, Level::todo, tr("Contested")};
                }
            }
            if (nativeLimit_) return {piece, Level::ok, Fmt::percent(*nativeLimit_)};
            return {piece, Level::ok, tr("As asked")};
        case Piece::login:
            if (login_ == LoginItem::Status::requiresApproval) return {piece, Level::todo, tr("To allow")};
            if (login_ == LoginItem::Status::enabled) return {piece, Level::ok, tr("On")};
            return {piece, Level::off, tr("Off")};
        case Piece::led:
            if (!led_) return {piece, Level::off, tr("By macOS")};
            if (!ledSupported_) return {piece, Level::off, tr("Not yet")};
            if (!*ledSupported_) return {piece, Level::off, tr("By macOS")};
            return {piece, Level::ok, tr("Driven")};
        case Piece::history:
            return history_ ? Reading{piece, Level::ok, tr("Recording")}
                            : Reading{piece, Level::off, tr("Off")};
        case Piece::updates:
            if (updates_.critical || updates_.available) return {piece, Level::todo, tr("Available")};
            // A failed check knows nothing of the next version: "Up to date" would be a guess.
            if (updates_.unreachable) return {piece, Level::todo, tr("Couldn’t check")};
            if (updates_.automatic) return {piece, Level::ok, tr("Up to date")};
            return {piece, Level::off, tr("Off")};
    }
    return {piece, Level::ok, ""};
}

std::array<Checkup::Reading, 7> Checkup::readings() const {
    return {reading(pieces[0]), reading(pieces[1]), reading(pieces[2]), reading(pieces[3]),
            reading(pieces[4]), reading(pieces[5]), reading(pieces[6])};
}

Level Checkup::level() const {
    Level worst = Level::ok;
    for (const auto& r : readings()) worst = std::max(worst, r.level);
    return worst;
}

int Checkup::todoCount() const {
    const auto all = readings();
    return static_cast<int>(
        std::count_if(all.begin(), all.end(), [](const Reading& r) { return r.level == Level::todo; }));
}

std::optional<Piece> Checkup::firstProblem() const {
    const Level overall = level();
    if (overall == Level::ok || overall == Level::off) return std::nullopt;
    for (const auto& r : readings()) {
        if (r.level == overall) return r.piece;
    }
    return std::nullopt;
}

std::string Checkup::summary() const {
    switch (level()) {
        case Level::ok:
        case Level::off:
            return tr("All set");
        case Level::todo: {
            const int count = todoCount();
            return trn("One thing to do", "%1 things to do", count, {Spelled::count(count, true)});
        }
        case Level::broken:
            return tr("Something’s wrong");
    }
    return tr("All set");
}

std::optional<Checkup::Fix> Checkup::fix() const {
    const auto problem = firstProblem();
    if (!problem) return std::nullopt;
    switch (*problem) {
        case Piece::updates:
            return Fix{tr("Update Torvel"), Fix::Action::checkForUpdates};
        case Piece::login:
            return Fix{tr("Open Login Items"), Fix::Action::openLoginItems};
        case Piece::service:
            // With a write error standing, approving or installing would not help: the report explains it.
            if (!writeError_ && serviceState_ == ServiceState::awaitingApproval) {
                return Fix{tr("Open Login Items"), Fix::Action::approveService};
            }
            if (!writeError_ && serviceState_ == ServiceState::notInstalled) {
                return Fix{tr("Install the service"), Fix::Action::installService};
            }
            break;
        default:
            break;
    }
    return Fix{tr("See what to do"), Fix::Action::openMac};
}

std::string Checkup::title(Piece piece) {
    switch (piece) {
        case Piece::service:
            return tr("Charge service");
        case Piece::verified:
            return tr("Limit verified");
        case Piece::control:
            return tr("Charge control");
        case Piece::login:
            return tr("Startup");
        case Piece::led:
            return tr("MagSafe light");
        case Piece::history:
            return tr("History");
        case Piece::updates:
            return tr("Updates");
    }
    return {};
}

std::string_view name(Checkup::Piece piece) {
    switch (piece) {
        case Piece::service:
            return "service";
        case Piece::verified:
            return "verified";
        case Piece::control:
            return "control";
        case Piece::login:
            return "login";
        case Piece::led:
            return "led";
        case Piece::history:
            return "history";
        case Piece::updates:
            return "updates";
    }
    return {};
}

std::string_view name(Checkup::Level level) {
    switch (level) {
        case Level::ok:
            return "ok";
        case Level::off:
            return "off";
        case Level::todo:
            return "todo";
        case Level::broken:
            return "broken";
    }
    return {};
}

}  // namespace torvel
