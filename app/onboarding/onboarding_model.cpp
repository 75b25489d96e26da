#include "onboarding/onboarding_model.h"

#include <QClipboard>
#include <QFutureWatcher>
#include <QGuiApplication>
#include <QProcess>
#include <QVariantMap>
#include <QtConcurrent>

#include "common/texts.h"
#include "extras/login_item_model.h"
#include "service/charge_settings_model.h"
#include "service/service_installer.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace {

class InstallerSteps : public ServiceSteps {
  public:
    explicit InstallerSteps(ServiceInstaller& installer) : installer_(installer) {}

    bool install(std::function<void()> done) override {
        return run(ServiceInstaller::Operation::install, std::move(done), [this] { installer_.install(); });
    }
    bool migrate(std::function<void()> done) override {
        return run(ServiceInstaller::Operation::migrate, std::move(done), [this] { installer_.migrate(); });
    }

  private:
    bool run(ServiceInstaller::Operation operation, std::function<void()> done,
             const std::function<void()>& start) {
        if (installer_.busy()) return false;
        struct Pending {
            QMetaObject::Connection connection;
            bool ended = false;
        };
        auto pending = std::make_shared<Pending>();
        const auto end = [pending, done = std::move(done)] {
            if (pending->ended) return;
            pending->ended = true;
            QObject::disconnect(pending->connection);
            done();
        };
        pending->connection =
            QObject::connect(&installer_, &ServiceInstaller::finished, &installer_,
                             [operation, end](ServiceInstaller::Operation ended, ServiceInstaller::Outcome) {
                                 if (ended == operation) end();
                             });
        start();
        // An operation the installer refused to begin (a migration no longer due) never finishes by itself.
        if (!installer_.busy()) end();
        return true;
    }

    ServiceInstaller& installer_;
};

QVariantMap screenWords(const OnboardingFlow& flow, const OnboardingScreenFacts& facts, int limit,
                        int restingFloor) {
    const auto text = [](const std::string& words) { return QString::fromStdString(words); };
    const bool helperReady = facts.ready;
    const OnboardingWords words = onboardingWords(flow.mode(), helperReady, limit, restingFloor);
    QVariantMap map = wordsMap(onboardingScreenWords(facts));
    QStringList stopNames;
    for (const auto& stop : railStopNames(facts.usesNative)) stopNames.append(text(stop));
    QVariantList rows;
    for (const auto& row : words.handOverRows) {
        rows.append(QVariantMap{{QStringLiteral("label"), text(row.label)},
                                {QStringLiteral("value"), text(row.value)},
                                {QStringLiteral("ticked"), row.ticked}});
    }
    QVariantList rail;
    for (const RailStop stop : railStops(facts.progress, facts.usesNative, helperReady))
        rail.append(static_cast<int>(stop));
    const auto& step = flow.step();
    map.insert({{QStringLiteral("handOverTitle"), text(words.handOverTitle)},
                {QStringLiteral("handOverSubtitle"), text(words.handOverSubtitle)},
                {QStringLiteral("handOverRows"), rows},
                {QStringLiteral("restingTitle"), text(words.restingTitle)},
                {QStringLiteral("restingText"), text(words.restingText)},
                {QStringLiteral("doneSubtitle"), text(words.doneSubtitle)},
                {QStringLiteral("failure"), step.kind == OnboardingFlow::Step::Kind::installFailed
                                                ? text(installFailureSentence(step.message))
                                                : QString()},
                {QStringLiteral("rail"), rail},
                {QStringLiteral("stops"), stopNames}});
    return map;
}

}  // namespace

std::unique_ptr<ServiceSteps> ServiceSteps::through(ServiceInstaller& installer) {
    return std::make_unique<InstallerSteps>(installer);
}

OnboardingModel::Probe OnboardingModel::probeOf(std::filesystem::path daemon) {
    return [daemon = std::move(daemon)](QObject* context, ProbeDone done) {
        // The child may take its time (or never end); the window stays responsive meanwhile.
        auto* watcher = new QFutureWatcher<HardwareProbe::Result>(context);
        QObject::connect(watcher, &QFutureWatcher<HardwareProbe::Result>::finished, context,
                         [watcher, done = std::move(done)] {
                             watcher->deleteLater();
                             done(watcher->result());
                         });
        watcher->setFuture(QtConcurrent::run([daemon] { return HardwareProbe::probe(daemon); }));
    };
}

OnboardingModel::OnboardingModel(Dependencies dependencies, OnboardingFlow::Mode mode, QObject* parent)
    : QObject(parent),
      settings_(dependencies.settings),
      service_(dependencies.service),
      defaults_(dependencies.defaults),
      loginItem_(dependencies.loginItem),
      lock_(dependencies.lock),
      probe_(std::move(dependencies.probe)),
      daemonSizeText_(std::move(dependencies.daemonSizeText)),
      installCommand_(std::move(dependencies.installCommand)),
      pollInterval_(dependencies.pollInterval),
      flow_(mode) {
    for (const auto signal :
         {&ChargeSettingsModel::daemonInstalledChanged, &ChargeSettingsModel::serviceNeedsMigrationChanged,
          &ChargeSettingsModel::limitChanged, &ChargeSettingsModel::serviceStateChanged})
        connect(&settings_, signal, this, [this] { settle(false); });
    check();
}

OnboardingModel::~OnboardingModel() {
    // Letting go of the settings makes them announce a change, which a model being destroyed must not relay.
    disconnect(&settings_, nullptr, this, nullptr);
    stopPolling();
    if (live_) settings_.unwatchLive();
}

QVariantList OnboardingModel::profiles() const {
    QVariantList list;
    for (const auto& profile : OnboardingFlow::profiles) {
        const auto text = [](std::string_view word) {
            return QString::fromUtf8(word.data(), static_cast<qsizetype>(word.size()));
        };
        list.append(QVariantMap{{QStringLiteral("id"), profile.id},
                                {QStringLiteral("icon"), text(profile.icon)},
                                {QStringLiteral("title"), text(torvel::tr(profile.title))},
                                {QStringLiteral("detail"), text(torvel::tr(profile.detail))},
                                {QStringLiteral("limit"), profile.limit},
                                {QStringLiteral("limitText"), QString::fromStdString(profileLimit(profile))},
                                {QStringLiteral("spoken"), QString::fromStdString(profileSpoken(profile))},
                                {QStringLiteral("band"), profile.band},
                                {QStringLiteral("discharge"), profile.discharge}});
    }
    return list;
}

void OnboardingModel::check() {
    flow_ = OnboardingFlow(flow_.mode());
    settle();
    if (!probe_) return;
    const int probe = ++probesStarted_;
    probe_(this, [self = QPointer(this), probe](const HardwareProbe::Result& result) {
        if (!self || probe != self->probesStarted_) return;
        self->flow_.probed(result);
        self->settle();
    });
}

void OnboardingModel::preview(OnboardingFlow::Step step) {
    ++probesStarted_;
    flow_.show(std::move(step));
    settle(false);
    // A preview is a still picture: a poll that found the service running would move it on mid-render.
    stopPolling();
}

void OnboardingModel::next() {
    if (flow_.next(OnboardingFlow::helperReady(settings_.value()), lock_.usesNative))
        defaults_.setBoolean("onboardingSeen", true);
    settle();
}

void OnboardingModel::back() {
    flow_.back(OnboardingFlow::helperReady(settings_.value()), lock_.usesNative);
    settle();
}

void OnboardingModel::install() {
    if (busy_) return;
    // Busy before the request: an installer that ends at once has already cleared it when it returns.
    setBusy(true);
    const bool started = service_.install([self = QPointer(this)] {
        if (!self) return;
        self->setBusy(false);
        self->flow_.installed(self->settings_.value(), self->lock_.usesNative);
        self->settle();
    });
    if (!started) setBusy(false);
}

void OnboardingModel::migrate() {
    if (busy_) return;
    setBusy(true);
    // The poll notices the replaced service and finishes a migration-only flow by itself.
    const bool started = service_.migrate([self = QPointer(this)] {
        if (!self) return;
        self->setBusy(false);
        self->settings_.refreshStatus();
    });
    if (!started) setBusy(false);
}

void OnboardingModel::setBusy(bool busy) {
    if (!assignAndNotify(this, busy_, busy, &OnboardingModel::busyChanged)) return;
    refreshWords();
}

void OnboardingModel::refreshWords() {
    const OnboardingScreenFacts facts{
        .mode = flow_.mode(),
        .ready = helperReady_,
        .replacing = flow_.mode().migrationOnly || needsMigration_,
        .busy = busy_,
        .capability = flow_.capability(),
        .daemonSize = daemonSizeText_ == QStringLiteral("—") ? std::nullopt
                                                             : std::optional(daemonSizeText_.toStdString()),
        .progress = flow_.progress(lock_.usesNative),
        .usesNative = lock_.usesNative,
    };
    assignAndNotify(this, words_, screenWords(flow_, facts, limit_, restingFloor_),
                    &OnboardingModel::wordsChanged);
}

void OnboardingModel::apply(int profile) {
    if (profile < 0 || profile >= static_cast<int>(OnboardingFlow::profiles.size())) return;
    const auto& chosen = OnboardingFlow::profiles[static_cast<std::size_t>(profile)];
    const bool dischargeSupported = settings_.value().status.published.dischargeSupported;
    settings_.change([&chosen, dischargeSupported](Settings& settings) {
        settings = OnboardingFlow::apply(chosen, settings, dischargeSupported);
    });
    // The band has no signal of its own: the profile this model chose is followed here.
    settle(false);
}

void OnboardingModel::copyCommand() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard) return;
    clipboard->clear();
    clipboard->setText(command());
}

void OnboardingModel::openBatterySettings() {
    // The desktop's power settings, where they can be reached by name; elsewhere nothing opens.
    QProcess::startDetached(QStringLiteral("gnome-control-center"), {QStringLiteral("power")});
    if (batteryOpened_) return;
    batteryOpened_ = true;
    emit batteryOpenedChanged();
}

void OnboardingModel::stopPolling() {
    if (!poll_) return;
    poll_.reset();
    emit pollingChanged();
}

void OnboardingModel::settle(bool mayFinish) {
    const Step was = step_;
    const auto qs = [](std::string_view text) {
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    };
    const auto& shown = flow_.step();
    const ChargeSettingsState& value = settings_.value();
    assignAndNotify(this, step_, static_cast<Step>(shown.kind), &OnboardingModel::stepChanged);
    assignAndNotify(this, stepName_, qs(name(shown.kind)), &OnboardingModel::stepNameChanged);
    assignAndNotify(this, discharge_, flow_.capability().discharge, &OnboardingModel::dischargeChanged);
    assignAndNotify(this, led_, flow_.capability().led, &OnboardingModel::ledChanged);
    assignAndNotify(
        this, message_,
        QString::fromStdString(shown.reason ? shown.reason->message(lock_.macOSMajor) : shown.message),
        &OnboardingModel::messageChanged);
    assignAndNotify(this, canGoBack_, flow_.canGoBack(), &OnboardingModel::canGoBackChanged);
    assignAndNotify(this, progress_, flow_.progress(lock_.usesNative).value_or(-1),
                    &OnboardingModel::progressChanged);
    assignAndNotify(this, helperReady_, OnboardingFlow::helperReady(value),
                    &OnboardingModel::helperReadyChanged);
    assignAndNotify(this, needsMigration_, settings_.serviceNeedsMigration(),
                    &OnboardingModel::needsMigrationChanged);
    assignAndNotify(this, limit_, value.settings.limit, &OnboardingModel::limitChanged);
    assignAndNotify(this, restingFloor_, OnboardingFlow::restingFloor(value.settings, lock_.usesNative),
                    &OnboardingModel::restingFloorChanged);
    int chosen = -1;
    for (const auto& profile : OnboardingFlow::profiles) {
        if (profile.matches(value.settings)) chosen = profile.id;
    }
    assignAndNotify(this, chosenProfile_, chosen, &OnboardingModel::chosenProfileChanged);
    assignAndNotify(this, command_,
                    QString::fromStdString(OnboardingFlow::commandToCopy(value, settings_.installation(),
                                                                         installCommand_.toStdString())),
                    &OnboardingModel::commandChanged);
    refreshWords();
    syncPolling();
    if (mayFinish && step_ == Step::Done && was != Step::Done) emit finished();
}

void OnboardingModel::syncPolling() {
    const auto change = flow_.syncPolling(poll_ != nullptr, live_);
    if (change.becomeLive) {
        live_ = true;
        settings_.watchLive();
        settings_.refreshStatus();
    }
    if (change.startTimer) {
        // Owned by the model: closing the window deletes the model, and the polling ends with it.
        poll_ = std::make_unique<QTimer>();
        poll_->setInterval(pollInterval_);
        connect(poll_.get(), &QTimer::timeout, this, &OnboardingModel::tick);
        poll_->start();
        emit pollingChanged();
    }
    if (change.stopTimer) stopPolling();
}

void OnboardingModel::tick() {
    settings_.refreshStatus();
    if (loginItem_) loginItem_->reload();
    if (flow_.tick(OnboardingFlow::helperReady(settings_.value()), lock_.usesNative)) settle();
}

}  // namespace torvel::app
