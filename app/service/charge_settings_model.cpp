#include "service/charge_settings_model.h"

#include <algorithm>
#include <variant>

#include "common/files.h"
#include "service/settings_rules.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace {
std::optional<std::string> fileText(const std::filesystem::path& path) {
    auto contents = readWholeFile(path);
    if (auto* bytes = std::get_if<std::string>(&contents)) return std::move(*bytes);
    return std::nullopt;
}
}  // namespace

ChargeSettingsModel::ChargeSettingsModel(Dependencies d, QObject* parent)
    : QObject(parent),
      paths_(std::move(d.paths)),
      installation_(std::move(d.installation)),
      lock_(d.lock),
      calls_(d.calls),
      service_(d.service),
      clock_(std::move(d.clock)),
      after_(std::move(d.after)) {
    poll_.setTimerType(Qt::CoarseTimer);
    connect(&poll_, &QTimer::timeout, this, &ChargeSettingsModel::refreshStatus);
    load();
    refreshStatus();
    retime();
}

void ChargeSettingsModel::publish() {
    assignAndNotify(this, shown_.enabled, state_.settings.enabled, &ChargeSettingsModel::enabledChanged);
    assignAndNotify(this, shown_.limit, state_.settings.limit, &ChargeSettingsModel::limitChanged);
    assignAndNotify(this, shown_.heldLimit, state_.heldLimit(), &ChargeSettingsModel::heldLimitChanged);
    assignAndNotify(this, shown_.topUp, state_.settings.topUp, &ChargeSettingsModel::topUpChanged);
    assignAndNotify(this, shown_.thermalLimit, state_.settings.thermalLimit,
                    &ChargeSettingsModel::thermalLimitChanged);
    assignAndNotify(this, shown_.canReachService, state_.canReachService(),
                    &ChargeSettingsModel::canReachServiceChanged);
    assignAndNotify(this, shown_.state, QString::fromUtf8(state_.status.stateWord()),
                    &ChargeSettingsModel::stateChanged);
    assignAndNotify(this, shown_.serviceState, QString::fromUtf8(name(serviceState())),
                    &ChargeSettingsModel::serviceStateChanged);
    assignAndNotify(this, shown_.writeError, text(state_.writeError),
                    &ChargeSettingsModel::writeErrorChanged);
    assignAndNotify(this, shown_.serviceError, text(state_.serviceError),
                    &ChargeSettingsModel::serviceErrorChanged);
    assignAndNotify(this, shown_.daemonInstalled, state_.daemonInstalled,
                    &ChargeSettingsModel::daemonInstalledChanged);
    assignAndNotify(this, shown_.serviceNeedsApproval, state_.serviceNeedsApproval,
                    &ChargeSettingsModel::serviceNeedsApprovalChanged);
    assignAndNotify(this, shown_.serviceNeedsMigration, state_.serviceNeedsMigration,
                    &ChargeSettingsModel::serviceNeedsMigrationChanged);
    assignAndNotify(this, shown_.migrating, state_.migrating, &ChargeSettingsModel::migratingChanged);
    assignAndNotify(this, shown_.migrationFallback, state_.migrationFallback,
                    &ChargeSettingsModel::migrationFallbackChanged);
    assignAndNotify(this, shown_.saveNote, text(saveNote_), &ChargeSettingsModel::saveNoteChanged);
    assignAndNotify(this, shown_.settings, state_.settings, &ChargeSettingsModel::settingsChanged);
    ServiceStatus status = state_.status;
    status.published.ts = {};
    assignAndNotify(this, shown_.status, std::move(status), &ChargeSettingsModel::statusChanged);
}

void ChargeSettingsModel::setLimit(int limit) {
    if (state_.settings.limit == limit) return;
    state_.settings.limit = limit;
    publish();
}

void ChargeSettingsModel::setTopUp(bool on) {
    if (state_.settings.topUp == on) return;
    state_.settings.topUp = on;
    publish();
}

void ChargeSettingsModel::change(const std::function<void(Settings&)>& edit) {
    Settings next = state_.settings;
    edit(next);
    if (next == state_.settings) return;
    state_.settings = next;
    publish();
    save();
}

void ChargeSettingsModel::setCalibrate(bool on) {
    calibrateAskedAt_ = clock_();
    if (state_.settings.calibrate == on) return;
    state_.settings.calibrate = on;
    publish();
}

void ChargeSettingsModel::load() {
    syncService();
    if (const auto config = fileText(paths_.config)) state_.settings = loadSettings(*config, state_.settings);
    publish();
}

void ChargeSettingsModel::refreshStatus() {
    const double now = clock_();
    if (liveWatchers_ > 0 || now - lastServiceSync_ >= serviceSyncSeconds) {
        lastServiceSync_ = now;
        syncService();
    }
    const auto bytes = fileText(paths_.status);
    torvel::refreshStatus(state_.status, bytes ? std::optional<std::string_view>(*bytes) : std::nullopt, now,
                          state_.daemonInstalled);
    state_.settings.calibrate =
        followCalibrate(state_.settings.calibrate, calibrateAskedAt_, state_.status.published.cal, now);
    publish();
    const auto& verified = state_.status.published.gateVerified;
    emit statusRefreshed(verified ? QVariant(*verified) : QVariant(), lock_.active && state_.daemonInstalled);
}

void ChargeSettingsModel::retime() {
    poll_.start(liveWatchers_ >= 1 ? livePollInterval : idlePollInterval);
}

void ChargeSettingsModel::watchLive() {
    assignAndNotify(this, liveWatchers_, liveWatchers_ + 1, &ChargeSettingsModel::liveWatchersChanged);
    retime();
}

void ChargeSettingsModel::unwatchLive() {
    assignAndNotify(this, liveWatchers_, std::max(liveWatchers_ - 1, 0),
                    &ChargeSettingsModel::liveWatchersChanged);
    retime();
}

void ChargeSettingsModel::save(const SettingsExtra& extra) {
    queue_.push_back({state_.settings, extra, ledger_.begin(state_.daemonInstalled), {}});
    // Saves reach the service one at a time and in order; a later one starts when the earlier one ends.
    if (queue_.size() == 1) sendNextSave();
}

void ChargeSettingsModel::resetProtected(std::function<void(const std::optional<std::string>&)> done) {
    const SettingsExtra extra{{std::string(resetProtectedKey), json::Value(true)}};
    queue_.push_back({state_.settings, extra, ledger_.begin(state_.daemonInstalled), std::move(done)});
    if (queue_.size() == 1) sendNextSave();
}

void ChargeSettingsModel::sendNextSave() {
    if (queue_.empty()) return;
    const QueuedSave& next = queue_.front();
    calls_.apply(
        next.settings, next.extra,
        [this, ticket = next.ticket, done = next.done](const ServiceCalls::Applied& applied) {
            SaveLedger::Outcome outcome{state_.writeError, settingsAwaitingService_};
            if (ledger_.finish(ticket, applied.error, outcome)) {
                state_.writeError = outcome.writeError;
                settingsAwaitingService_ = outcome.settingsAwaitingService;
                saveNote_ = applied.note;
                publish();
            }
            queue_.pop_front();
            if (done) done(applied.error);
            sendNextSave();
        },
        std::nullopt);
}

void ChargeSettingsModel::syncService() {
    const bool wasInstalled = state_.daemonInstalled;
    service_.refresh();
    const ServiceRegistration registration = service_.registration();
    state_.daemonInstalled = registration.installed();
    state_.serviceNeedsApproval = registration.status == ServiceRegistration::Status::requiresApproval;
    state_.serviceNeedsMigration = registration.needsMigration();
    state_.serviceError = service_.lastError();

    const ServiceFacts facts = state_.serviceFacts(installation_);
    const SyncDecision decision = decideSync({
        .wasInstalled = wasInstalled,
        .nowInstalled = state_.daemonInstalled,
        .settingsAwaitingService = settingsAwaitingService_,
        .hasWriteError = state_.writeError.has_value(),
        .fromElsewhere = serviceFromElsewhere(facts),
        .ownCopyInApplications = installation_.ownCopyInApplications,
        .triedRepoint = triedRepoint_,
        .outdated = serviceOutdated(facts),
        .triedServiceRefresh = triedServiceRefresh_,
    });
    publish();

    if (decision.resendSettings) {
        settingsAwaitingService_ = false;
        save();
    }
    if (decision.repoint) {
        triedRepoint_ = true;
        after_(std::chrono::milliseconds(0), [this] { service_.repoint([this] { syncService(); }); });
    }
    if (decision.restart) {
        triedServiceRefresh_ = true;
        after_(std::chrono::milliseconds(0),
               [this] { service_.refreshService(calls_, [this] { syncService(); }); });
    }
}

void ChargeSettingsModel::removeEverything(std::function<void()> done) {
    calls_.purgeAllData(
        [this, done](const ServiceCalls::Result&) {
            service_.remove([this, done] {
                syncService();
                if (done) done();
            });
        },
        std::nullopt);
}

void ChargeSettingsModel::migrateLegacyService() {
    if (!state_.serviceNeedsMigration || state_.migrating) return;
    state_.migrating = true;
    publish();
    after_(migrationPause, [this] {
        service_.removeLegacy([this](ServiceUnit::LegacyRemoval result) {
            switch (result) {
                case ServiceUnit::LegacyRemoval::removed:
                    syncService();
                    after_(ServiceUnit::reRegisterDelay, [this] {
                        service_.install([this] {
                            syncService();
                            finishMigration();
                        });
                    });
                    return;
                case ServiceUnit::LegacyRemoval::cancelled:
                    syncService();
                    break;
                case ServiceUnit::LegacyRemoval::failed: {
                    state_.migrationFallback = true;
                    publish();
                    syncService();
                    break;
                }
            }
            finishMigration();
        });
    });
}

void ChargeSettingsModel::finishMigration() {
    state_.migrating = false;
    publish();
}

}  // namespace torvel::app
