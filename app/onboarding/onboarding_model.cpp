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
    connect(&settings_, &ChargeSettings::changed, this, [this] {
        emit helperReadyChanged();
        emit needsMigrationChanged();
        emit limitChanged();
        emit restingFloorChanged();
        emit chosenProfileChanged();
        emit commandChanged();
        emit wordsChanged();
    });
    check();
}

OnboardingModel::~OnboardingModel() {
    // Letting go of the settings makes them announce a change, which a model being destroyed must not relay.
    disconnect(&settings_, nullptr, this, nullptr);
    stopPolling();
    if (live_) settings_.unwatchLive();
}

QString OnboardingModel::stepName() const {
    const std::string_view word = name(flow_.step().kind);
    return QString::fromUtf8(word.data(), static_cast<qsizetype>(word.size()));
}

QString OnboardingModel::message() const {
    const auto& shown = flow_.step();
    if (shown.reason) return QString::fromStdString(shown.reason->message(lock_.macOSMajor));
    return QString::fromStdString(shown.message);
}

bool OnboardingModel::helperReady() const {
    return OnboardingFlow::helperReady(settings_.value());
}

bool OnboardingModel::needsMigration() const {
    return settings_.serviceNeedsMigration();
}

int OnboardingModel::limit() const {
    return settings_.value().settings.limit;
}

int OnboardingModel::restingFloor() const {
    return OnboardingFlow::restingFloor(settings_.value().settings, lock_.usesNative);
}

int OnboardingModel::chosenProfile() const {
    for (const auto& profile : OnboardingFlow::profiles) {
        if (profile.matches(settings_.value().settings)) return profile.id;
    }
    return -1;
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
                                {QStringLiteral("band"), profile.band},
                                {QStringLiteral("discharge"), profile.discharge}});
    }
    return list;
}

QString OnboardingModel::command() const {
    return QString::fromStdString(OnboardingFlow::commandToCopy(settings_.value(), settings_.installation(),
                                                                installCommand_.toStdString()));
}

QVariantMap OnboardingModel::words() const {
    const auto text = [](const std::string& words) { return QString::fromStdString(words); };
    const OnboardingWords words = onboardingWords(flow_.mode(), helperReady(), limit(), restingFloor());
    QVariantList rows;
    for (const auto& row : words.handOverRows) {
        rows.append(QVariantMap{{QStringLiteral("label"), text(row.label)},
                                {QStringLiteral("value"), text(row.value)},
                                {QStringLiteral("ticked"), row.ticked}});
    }
    QVariantList rail;
    for (const RailStop stop : railStops(flow_.progress(lock_.usesNative), lock_.usesNative, helperReady()))
        rail.append(static_cast<int>(stop));
    const auto& step = flow_.step();
    return {{QStringLiteral("handOverTitle"), text(words.handOverTitle)},
            {QStringLiteral("handOverSubtitle"), text(words.handOverSubtitle)},
            {QStringLiteral("handOverRows"), rows},
            {QStringLiteral("restingTitle"), text(words.restingTitle)},
            {QStringLiteral("restingText"), text(words.restingText)},
            {QStringLiteral("doneSubtitle"), text(words.doneSubtitle)},
            {QStringLiteral("failure"), step.kind == OnboardingFlow::Step::Kind::installFailed
                                            ? text(installFailureSentence(step.message))
                                            : QString()},
            {QStringLiteral("rail"), rail}};
}

void OnboardingModel::check() {
    const Snapshot before = snapshot();
    flow_ = OnboardingFlow(flow_.mode());
    settle(before);
    if (!probe_) return;
    const int probe = ++probesStarted_;
    probe_(this, [self = QPointer(this), probe](const HardwareProbe::Result& result) {
        if (!self || probe != self->probesStarted_) return;
        const Snapshot was = self->snapshot();
        const OnboardingFlow::Capability had = self->flow_.capability();
        self->flow_.probed(result);
        if (had.discharge != self->discharge()) emit self->dischargeChanged();
        if (had.led != self->led()) emit self->ledChanged();
        self->settle(was);
    });
}

void OnboardingModel::preview(OnboardingFlow::Step step) {
    ++probesStarted_;
    const Snapshot before = snapshot();
    const OnboardingFlow::Capability had = flow_.capability();
    flow_.show(std::move(step));
    if (had.discharge != discharge()) emit dischargeChanged();
    if (had.led != led()) emit ledChanged();
    settle(before, false);
    // A preview is a still picture: a poll that found the service running would move it on mid-render.
    stopPolling();
}

void OnboardingModel::next() {
    const Snapshot before = snapshot();
    if (flow_.next(helperReady(), lock_.usesNative)) defaults_.setBoolean("onboardingSeen", true);
    settle(before);
}

void OnboardingModel::back() {
    const Snapshot before = snapshot();
    flow_.back(helperReady(), lock_.usesNative);
    settle(before);
}

void OnboardingModel::install() {
    if (busy_) return;
    // Busy before the request: an installer that ends at once has already cleared it when it returns.
    setBusy(true);
    const bool started = service_.install([self = QPointer(this)] {
        if (!self) return;
        self->setBusy(false);
        const Snapshot before = self->snapshot();
        self->flow_.installed(self->settings_.value(), self->lock_.usesNative);
        self->settle(before);
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
    if (busy_ == busy) return;
    busy_ = busy;
    emit busyChanged();
}

void OnboardingModel::apply(int profile) {
    if (profile < 0 || profile >= static_cast<int>(OnboardingFlow::profiles.size())) return;
    const auto& chosen = OnboardingFlow::profiles[static_cast<std::size_t>(profile)];
    const bool dischargeSupported = settings_.value().status.published.dischargeSupported;
    settings_.change([&chosen, dischargeSupported](Settings& settings) {
        settings = OnboardingFlow::apply(chosen, settings, dischargeSupported);
    });
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

void OnboardingModel::settle(const Snapshot& before, bool mayFinish) {
    const Snapshot after = snapshot();
    if (!(after.step == before.step)) {
        if (after.step.kind != before.step.kind) {
            emit stepChanged();
            emit stepNameChanged();
        }
        if (after.step.message != before.step.message || after.step.reason != before.step.reason)
            emit messageChanged();
    }
    if (after.canGoBack != before.canGoBack) emit canGoBackChanged();
    if (after.progress != before.progress) emit progressChanged();
    if (!(after.step == before.step) || after.progress != before.progress) emit wordsChanged();
    syncPolling();
    if (mayFinish && after.step.kind == OnboardingFlow::Step::Kind::done &&
        before.step.kind != OnboardingFlow::Step::Kind::done)
        emit finished();
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
    const Snapshot before = snapshot();
    if (flow_.tick(helperReady(), lock_.usesNative)) settle(before);
}

}  // namespace torvel::app
