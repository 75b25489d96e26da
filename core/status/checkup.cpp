#include "status/checkup.h"

#include <algorithm>

#include "common/fmt.h"

namespace torvel {

using Level = Checkup::Level;
using Piece = Checkup::Piece;

Checkup::Checkup(const ChargeSettingsState& settings, ServiceState serviceState, const SystemLock& lock,
                 LoginItem::Status login, const UpdaterState& updates)
    : writeError_(settings.writeError.has_value()),
      serviceState_(serviceState),
      systemLocked_(lock.active),
      gateVerified_(settings.status.published.gateVerified),
      chargeError_(settings.status.published.chargeError.has_value()),
      nativeLimit_(settings.status.published.nativeLimit),
      login_(login),
      led_(settings.settings.led),
      ledSupported_(settings.status.published.ledSupported),
      history_(settings.settings.history),
      updates_(updates) {
    if (const auto& other = settings.status.published.otherWriter) otherWriter_ = other->program;
}

namespace {

Checkup::Reading serviceReading(bool writeError, ServiceState state, bool systemLocked) {
    if (writeError) return {Piece::service, Level::broken, "Can’t write"};
    switch (state) {
        case ServiceState::notInstalled:
            // With no limit possible on this release, a missing service is not the user's to fix.
            return {Piece::service, systemLocked ? Level::off : Level::todo, "Not installed"};
        case ServiceState::awaitingApproval:
            return {Piece::service, Level::todo, "To allow"};
        case ServiceState::needsMigration:
            return {Piece::service, Level::todo, "To update"};
        case ServiceState::elsewhereInApplications:
            return {Piece::service, Level::off, "Taking it back"};
        case ServiceState::elsewhere:
            return {Piece::service, Level::todo, "To move"};
        case ServiceState::outdated:
            return {Piece::service, Level::todo, "To update"};
        case ServiceState::stale:
            return {Piece::service, Level::broken, "Stopped"};
        case ServiceState::unknown:
            return {Piece::service, Level::off, "Starting"};
        case ServiceState::running:
            return {Piece::service, Level::ok, "Running"};
    }
    return {Piece::service, Level::ok, "Running"};
}

}  // namespace

Checkup::Reading Checkup::reading(Piece piece) const {
    switch (piece) {
        case Piece::service:
            return serviceReading(writeError_, serviceState_, systemLocked_);
        case Piece::verified:
            if (systemLocked_) return {piece, Level::todo, "Not yet"};
            if (!gateVerified_) return {piece, Level::off, "Not yet"};
            return *gateVerified_ ? Reading{piece, Level::ok, "Verified"}
                                  : Reading{piece, Level::broken, "Not working"};
        case Piece::control:
            if (chargeError_) return {piece, Level::broken, "Refused"};
            if (otherWriter_) {
                switch (*otherWriter_) {
                    case OtherWriter::Program::upower:
                        return {piece, Level::todo, "UPower too"};
                    case OtherWriter::Program::tlp:
                        return {piece, Level::todo, "TLP too"};
                    case OtherWriter::Program::kde:
                        return {piece, Level::todo, "KDE too"};
                    case OtherWriter::Program::unknown:
                        return {piece, Level::todo, "Contested"};
                }
            }
            if (nativeLimit_) return {piece, Level::ok, Fmt::percent(*nativeLimit_)};
            return {piece, Level::ok, "As asked"};
        case Piece::login:
            if (login_ == LoginItem::Status::requiresApproval) return {piece, Level::todo, "To allow"};
            if (login_ == LoginItem::Status::enabled) return {piece, Level::ok, "On"};
            return {piece, Level::off, "Off"};
        case Piece::led:
            if (!led_ || !ledSupported_) return {piece, Level::off, "By macOS"};
            return {piece, Level::ok, "Driven"};
        case Piece::history:
            return history_ ? Reading{piece, Level::ok, "Recording"} : Reading{piece, Level::off, "Off"};
        case Piece::updates:
            if (updates_.critical || updates_.available) return {piece, Level::todo, "Available"};
            // A failed check knows nothing of the next version: "Up to date" would be a guess.
            if (updates_.unreachable) return {piece, Level::todo, "Couldn’t check"};
            if (updates_.automatic) return {piece, Level::ok, "Up to date"};
            return {piece, Level::off, "Off"};
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
            return "All set";
        case Level::todo: {
            const int count = todoCount();
            if (count == 1) return "One thing to do";
            return Spelled::count(count, true) + " things to do";
        }
        case Level::broken:
            return "Something’s wrong";
    }
    return "All set";
}

std::optional<Checkup::Fix> Checkup::fix() const {
    const auto problem = firstProblem();
    if (!problem) return std::nullopt;
    switch (*problem) {
        case Piece::updates:
            return Fix{"Update Torvel", Fix::Action::checkForUpdates};
        case Piece::login:
            return Fix{"Open Login Items", Fix::Action::openLoginItems};
        case Piece::service:
            // With a write error standing, approving or installing would not help: the report explains it.
            if (!writeError_ && serviceState_ == ServiceState::awaitingApproval) {
                return Fix{"Open Login Items", Fix::Action::approveService};
            }
            if (!writeError_ && serviceState_ == ServiceState::notInstalled) {
                return Fix{"Install the service", Fix::Action::installService};
            }
            break;
        default:
            break;
    }
    return Fix{"See what to do", Fix::Action::openMac};
}

std::string_view Checkup::title(Piece piece) {
    switch (piece) {
        case Piece::service:
            return "Charge service";
        case Piece::verified:
            return "Limit verified";
        case Piece::control:
            return "Charge control";
        case Piece::login:
            return "Startup";
        case Piece::led:
            return "MagSafe light";
        case Piece::history:
            return "History";
        case Piece::updates:
            return "Updates";
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
