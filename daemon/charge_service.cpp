#include "charge_service.h"

#include <unistd.h>

#include <cerrno>
#include <variant>

#include "common/syscalls.h"
#include "device/writer_lookout.h"
#include "service/control_words.h"

namespace torvel::daemon {
ChargeService::ChargeService(const Paths& paths, PowerDevice& device, Identity identity, Moment startedAt,
                             std::unique_ptr<WriterLookout> lookout)
    : paths_(paths),
      identity_(std::move(identity)),
      startedAt_(startedAt.wall),
      lastNow_(startedAt.wall),
      log_(paths.log),
      config_(paths.config),
      state_(paths.dataDirectory() / "service-state.json"),
      status_(paths.status),
      journal_(paths.history),
      lookout_(lookout ? std::move(lookout) : std::make_unique<SystemWriterLookout>(paths)),
      controller_(
          device, state_.load(), [this](std::string_view line) { log_.write(lastNow_, line); },
          lookout_.get()) {
    ensureDirectory(paths_.dataDirectory());
    ensureDirectory(paths_.log.parent_path());
    // Left by a predecessor that died mid-write; no other instance runs (the caller holds the lock).
    removeTemporaryFiles(paths_.dataDirectory());
    const auto loaded = config_.load();
    if (loaded.note) log_.write(startedAt.wall, *loaded.note);
    controller_.setSettings(loaded.settings);
    savedMemory_ = controller_.memory();
    log_.write(startedAt.wall, "started, version " + identity_.version);
}

void ChargeService::reload(Moment now) {
    lastNow_ = now.wall;
    const auto loaded = config_.load();
    if (loaded.note) log_.write(now.wall, *loaded.note);
    controller_.setSettings(loaded.settings);
    log_.write(now.wall, "settings read again: limit " + std::to_string(loaded.settings.limit) +
                             (loaded.settings.enabled ? "" : " (off)"));
    reapply(now);
}

void ChargeService::reapply(Moment now) {
    controller_.reapply();
    tick(now);
}

void ChargeService::storeOwnChange(Moment now) {
    const auto change = controller_.takeSettingsChange();
    if (!change || purged_) return;
    if (auto error = config_.save(*change)) log_.write(now.wall, *error);
}

void ChargeService::tick(Moment now) {
    lastNow_ = now.wall;
    PublishedStatus before = controller_.status();
    controller_.tick(now.wall, now.boot);
    PublishedStatus after = controller_.status();
    // The counter grows on every tick while holding; that alone is no motion.
    before.protectedSeconds = after.protectedSeconds = 0;
    const Settings& settings = controller_.settings();
    settled_ = before == after && after.state != ChargeState::discharge &&
               after.cal.phase == CalibrationStatus::Phase::idle && !settings.topUp && !settings.calibrate;
    storeOwnChange(now);
    if (purged_) return;
    publish(now);
    saveMemory(now, false);
}

void ChargeService::publish(Moment now) {
    PublishedStatus status = controller_.status();
    status.daemonVersion = identity_.version;
    status.startedAt = startedAt_;
    status.daemonPath = identity_.executablePath;

    std::string error;
    if (auto published = status_.publish(status, now.wall);
        auto* text = std::get_if<std::string>(&published)) {
        error = *text;
    }
    record(status, now, error);
    if (auto note = journal_.takeNote()) log_.write(now.wall, *note);
    // A full disk fails on every tick; the log hears of it once.
    if (error != lastFileError_ && !error.empty()) log_.write(now.wall, error);
    lastFileError_ = error;
}

void ChargeService::record(const PublishedStatus& status, Moment now, std::string& error) {
    const Instant lineTime = journalClock_.update(now);
    if (const auto since = journalClock_.undoneLeapSince()) {
        log_.write(now.wall, "the clock went back after running ahead");
        journal_.setAsideDaysAhead(lineTime, *since);
    }
    const Settings& settings = controller_.settings();
    // While the battery is out there is no reading to record, only a gap.
    if (settings.history && status.state) {
        HistorySample sample{lineTime, status.pct, status.state, status.plugged, status.temp};
        if (auto recorded = journal_.record(sample, now.boot);
            auto* text = std::get_if<std::string>(&recorded)) {
            error = *text;
        }
    }
    if (auto pruned = journal_.prune(journalClock_.pruneTime(), now.boot, settings.historyDays))
        error = *pruned;
}

void ChargeService::saveMemory(Moment now, bool force) {
    const ControlMemory memory = controller_.memory();
    if (savedMemory_ && *savedMemory_ == memory) return;
    // The protected-time counter changes every tick; five minutes of it is all a crash may lose (a stop saves
    // it whole), and an idle service syncs the disk that seldom.
    const bool onlyCounter =
        savedMemory_ && savedMemory_->cal == memory.cal && savedMemory_->calBeforeRaw == memory.calBeforeRaw;
    if (!force && onlyCounter && now.boot - memorySavedAt_ < counterSaveEvery) return;
    if (auto error = state_.save(memory)) {
        log_.write(now.wall, *error);
        return;
    }
    savedMemory_ = memory;
    memorySavedAt_ = now.boot;
}

void ChargeService::prepareForSleep(Moment now) {
    lastNow_ = now.wall;
    const auto error = controller_.prepareForSleep();
    log_.write(now.wall, error ? "going to sleep: " + *error : "going to sleep");
}

void ChargeService::shutdown(Moment now) {
    lastNow_ = now.wall;
    if (auto error = controller_.shutdown()) log_.write(now.wall, *error);
    if (!purged_) saveMemory(now, true);
    log_.write(now.wall, "stopped");
}

CallReply ChargeService::applySettings(const SettingsUpdate& update, Moment now) {
    if (update.refusal()) return {false, *update.refusal()};
    const Settings settings = update.appliedTo(controller_.settings());
    if (auto error = ensureDirectory(paths_.dataDirectory())) return {false, *error};
    if (auto error = config_.save(settings)) return {false, *error};
    purged_ = false;
    controller_.setSettings(settings);
    if (update.resetProtected()) controller_.resetProtected();
    log_.write(now.wall, "settings applied: limit " + std::to_string(settings.limit) +
                             (settings.enabled ? "" : " (off)"));
    tick(now);
    saveMemory(now, update.resetProtected());
    // Read back, not assumed: a battery that refused the limit, or holds another, is answered as such.
    const PublishedStatus& status = controller_.status();
    if (status.chargeError) return {false, ControlWords::notHeld(*status.chargeError)};
    if (status.nativeLimit) return {true, ControlWords::heldInstead(settings.limit, *status.nativeLimit)};
    return {};
}

CallReply ChargeService::purgeAllData(Moment now) {
    lastNow_ = now.wall;
    purged_ = true;
    controller_.forgetMemory();
    savedMemory_.reset();
    const auto unlinkIfThere = [](const std::filesystem::path& file) -> FileError {
        if (::unlink(file.c_str()) != 0 && errno != ENOENT)
            return systemError("delete", file.filename().string(), errno);
        return std::nullopt;
    };
    auto olderLog = paths_.log;
    olderLog += ".1";
    std::string errors;
    for (const FileError& error :
         {unlinkIfThere(paths_.config), status_.remove(), journal_.removeAll(), unlinkIfThere(state_.file()),
          unlinkIfThere(olderLog), unlinkIfThere(paths_.log)}) {
        if (!error) continue;
        if (!errors.empty()) errors += "; ";
        errors += *error;
    }
    removeTemporaryFiles(paths_.dataDirectory());
    if (!errors.empty()) return {false, errors};
    return {};
}

CallReply ChargeService::releaseCharge(Moment now) {
    lastNow_ = now.wall;
    const auto error = controller_.release();
    log_.write(now.wall, error ? "release: " + *error : "released: charging left to the firmware");
    tick(now);
    if (error) return {false, *error};
    return {};
}

}  // namespace torvel::daemon
