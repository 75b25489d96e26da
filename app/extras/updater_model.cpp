#include "extras/updater_model.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProcess>
#include <QStandardPaths>
#include <cstdlib>

#include "common/texts.h"
#include "extras/appcast_reader.h"
#include "extras/package_updates.h"
#include "ui/model_support.h"

namespace torvel::app {

namespace {

const QString group = QStringLiteral("updates");
// Far above any real feed; only there so a misbehaving server cannot fill the memory.
constexpr std::uint64_t largestFeed = 4 * 1024 * 1024;
constexpr auto schedulePoll = std::chrono::minutes(10);
constexpr auto firstScheduledLook = std::chrono::seconds(30);
const char* const tooLargeProperty = "torvelTooLarge";
const char* const tooSlowProperty = "torvelTooSlow";

QString fromStd(const std::string& text) {
    return QString::fromStdString(text);
}

// One short text for whatever stopped a request; absent when the server answered with content.
std::optional<QString> requestFailure(QNetworkReply* reply) {
    switch (reply->error()) {
        case QNetworkReply::NoError:
            break;
        case QNetworkReply::OperationCanceledError:
        case QNetworkReply::TimeoutError:
            return fromStd(UpdateActionWords::feedFailure(FeedFailure::noAnswer));
        case QNetworkReply::SslHandshakeFailedError:
            return fromStd(UpdateActionWords::feedFailure(FeedFailure::untrustedCertificate));
        case QNetworkReply::InsecureRedirectError:
            return fromStd(UpdateActionWords::feedFailure(FeedFailure::insecureRedirect));
        default: {
            const int code = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            if (code >= 400) return fromStd(UpdateActionWords::feedFailure(FeedFailure::serverError, code));
            return fromStd(UpdateActionWords::feedFailure(FeedFailure::unreachable));
        }
    }
    const int code = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (code != 200) return fromStd(UpdateActionWords::feedFailure(FeedFailure::serverError, code));
    return std::nullopt;
}

const char* const packageName = "torvel-update.deb";

// Writes `package` into a fresh directory under `base` and reads it back through the descriptor that wrote
// it, so what is verified is what lies on disk. Absent when any step fails.
std::optional<QByteArray> savePrivately(const QString& base, const QByteArray& package, QString& directory) {
    if (!QDir().mkpath(base)) return std::nullopt;
    QByteArray name = QFile::encodeName(base + QStringLiteral("/torvel-update-XXXXXX"));
    // What closes the window: mkdtemp's 0700 directory has a name no other program knows or writes into, so
    // nothing can swap the file between the read-back below and PackageKit's read of the path.
    if (!mkdtemp(name.data())) return std::nullopt;
    directory = QFile::decodeName(name);
    const int dirFd = ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dirFd < 0) return std::nullopt;
    const int fd = ::openat(dirFd, packageName, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    ::close(dirFd);
    if (fd < 0) return std::nullopt;
    bool written = true;
    for (qsizetype done = 0; written && done < package.size();) {
        const ssize_t n =
            ::write(fd, package.constData() + done, static_cast<std::size_t>(package.size() - done));
        written = n > 0;
        done += n;
    }
    // One byte more than written shows a file that grew behind our back.
    QByteArray back(package.size() + 1, Qt::Uninitialized);
    qsizetype read = 0;
    while (written && read < back.size()) {
        const ssize_t n = ::pread(fd, back.data() + read, static_cast<std::size_t>(back.size() - read), read);
        if (n <= 0) break;
        read += n;
    }
    ::close(fd);
    if (!written) return std::nullopt;
    back.truncate(read);
    return back;
}

void removePrivately(const QString& directory) {
    if (directory.isEmpty()) return;
    QFile::remove(directory + QLatin1Char('/') + QLatin1String(packageName));
    QDir().rmdir(directory);
}

}  // namespace

UpdaterModel::Config UpdaterModel::buildConfig() {
    return Config{
        .feed = QUrl(QStringLiteral(TORVEL_UPDATE_FEED)),
        .publicKey = QStringLiteral(TORVEL_UPDATE_PUBLIC_KEY),
        .runningVersion = QStringLiteral(TORVEL_VERSION),
        .timeout = std::chrono::seconds(30),
        .deadline = std::chrono::minutes(2),
        .settingsFile = {},
        .downloadDirectory = {},
        .systemBus = QDBusConnection::systemBus(),
        .clock = {},
        .source = PackageUpdates::sourceNamed(qEnvironmentVariable("TORVEL_UPDATE_SOURCE").toStdString()),
        .installDeadline = std::chrono::minutes(15)};
}

UpdaterModel::UpdaterModel(Config config, QNetworkAccessManager* network, QObject* parent)
    : QObject(parent),
      config_(std::move(config)),
      network_(network),
      settings_(config_.settingsFile.isEmpty()
                    ? std::make_unique<QSettings>(QStringLiteral("Torvel"), QStringLiteral("Torvel"))
                    : std::make_unique<QSettings>(config_.settingsFile, QSettings::IniFormat)),
      installer_(config_.systemBus),
      packages_(config_.systemBus, config_.deadline, config_.installDeadline),
      source_(config_.source) {
    if (!network_) {
        ownNetwork_ = std::make_unique<QNetworkAccessManager>();
        network_ = ownNetwork_.get();
    }
    key_ = UpdateVerification::publicKey(config_.publicKey.toStdString());
    connect(&packages_, &PackageKitUpdates::progress, this, [this](int percent) {
        if (installing_)
            setNote(
                fromStd(UpdateActionWords::installing(percent < 0 ? std::nullopt : std::optional(percent))));
    });

    settings_->beginGroup(group);
    state_.automatic = settings_->value(QStringLiteral("automatic"), false).toBool();
    state_.critical = settings_->value(QStringLiteral("critical"), false).toBool();
    if (const auto version = settings_->value(QStringLiteral("available")).toString(); !version.isEmpty())
        state_.available = version.toStdString();
    bool ok = false;
    const qlonglong seconds = settings_->value(QStringLiteral("lastCheck")).toLongLong(&ok);
    if (ok) state_.lastCheck = static_cast<Instant>(seconds);
    settings_->endGroup();
    announce();

    // Known early, so the page says where updates come from before anyone asks.
    withSource([] {});

    // Polling a due date rather than arming a day-long timer: a monotonic timer stops while the laptop
    // sleeps, and the wall clock may be changed under it.
    schedule_.setTimerType(Qt::VeryCoarseTimer);
    schedule_.setInterval(schedulePoll);
    connect(&schedule_, &QTimer::timeout, this, &UpdaterModel::checkIfDue);
    schedule_.start();
    // Not at once: the app's start-up has more urgent work than the feed.
    QTimer::singleShot(firstScheduledLook, this, &UpdaterModel::checkIfDue);
}

UpdaterModel::~UpdaterModel() {
    // Quitting during a check is not a failed check: the aborted replies must not reach the handlers.
    for (QNetworkReply* reply : {feedReply_.data(), packageReply_.data()}) {
        if (!reply) continue;
        disconnect(reply, nullptr, this, nullptr);
        reply->abort();
    }
    if (versionReader_) disconnect(versionReader_, nullptr, this, nullptr);
    if (sourceReader_) disconnect(sourceReader_, nullptr, this, nullptr);
}

QString UpdaterModel::available() const {
    return state_.available ? fromStd(*state_.available) : QString();
}

QDateTime UpdaterModel::lastCheck() const {
    if (!state_.lastCheck) return {};
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(*state_.lastCheck * 1000.0));
}

QString UpdaterModel::status() const {
    return fromStd(UpdateWords::status(state_));
}

QString UpdaterModel::shortText() const {
    return fromStd(UpdateWords::shortText(state_));
}

bool UpdaterModel::canInstall() const {
    return state_.available && !installing_ && !state_.checking;
}

QString UpdaterModel::checkTitle() const {
    return fromStd(UpdateActionWords::checkTitle(state_.checking));
}

QString UpdaterModel::installTitle() const {
    return fromStd(UpdateActionWords::installTitle(installing_));
}

QString UpdaterModel::automaticLabel() {
    return fromStd(UpdateActionWords::automaticLabel());
}

QString UpdaterModel::help() const {
    return fromStd(UpdateActionWords::help(source_, config_.feed.host().toStdString()));
}

void UpdaterModel::setAutomatic(bool on) {
    if (on == state_.automatic) return;
    change([on](UpdaterState& state) { state.automatic = on; });
    save();
    checkIfDue();
}

Instant UpdaterModel::now() const {
    if (config_.clock) return config_.clock();
    // Whole seconds, as the settings file keeps them.
    return static_cast<Instant>(QDateTime::currentSecsSinceEpoch());
}

void UpdaterModel::change(const std::function<void(UpdaterState&)>& edit) {
    edit(state_);
    announce();
}

void UpdaterModel::announce() {
    assignAndNotify(this, announced_.available, state_.available, &UpdaterModel::availableChanged);
    assignAndNotify(this, announced_.critical, state_.critical, &UpdaterModel::criticalChanged);
    assignAndNotify(this, announced_.checking, state_.checking, &UpdaterModel::checkingChanged);
    assignAndNotify(this, announced_.lastCheck, state_.lastCheck, &UpdaterModel::lastCheckChanged);
    assignAndNotify(this, announced_.unreachable, state_.unreachable, &UpdaterModel::unreachableChanged);
    assignAndNotify(this, announced_.automatic, state_.automatic, &UpdaterModel::automaticChanged);
    assignAndNotify(this, status_, status(), &UpdaterModel::statusChanged);
    assignAndNotify(this, shortText_, shortText(), &UpdaterModel::shortTextChanged);
    assignAndNotify(this, canInstall_, canInstall(), &UpdaterModel::canInstallChanged);
    assignAndNotify(this, help_, help(), &UpdaterModel::helpChanged);
}

void UpdaterModel::setError(QString text, QString detail) {
    if (text == error_ && detail == errorDetail_) return;
    error_ = std::move(text);
    errorDetail_ = std::move(detail);
    emit errorChanged();
}

void UpdaterModel::setProblem(UpdateProblem problem, QString detail) {
    setError(fromStd(UpdateActionWords::problem(problem)), std::move(detail));
}

void UpdaterModel::setNote(QString text) {
    if (text == note_) return;
    note_ = std::move(text);
    emit noteChanged();
}

void UpdaterModel::setInstalling(bool on) {
    if (assignAndNotify(this, installing_, on, &UpdaterModel::installingChanged)) announce();
}

void UpdaterModel::withSource(std::function<void()> then) {
    if (source_) {
        then();
        return;
    }
    waitingForSource_.push_back(std::move(then));
    if (sourceReader_) return;
    sourceReader_ = new QProcess(this);
    QProcess* reader = sourceReader_;
    const auto decided = [this, reader](bool ran) {
        reader->deleteLater();
        const bool fromRepository =
            ran && reader->exitStatus() == QProcess::NormalExit && reader->exitCode() == 0 &&
            PackageUpdates::fromRepository(reader->readAllStandardOutput().toStdString());
        source_ = PackageUpdates::source(fromRepository, feedConfigured());
        announce();
        for (auto& waiting : std::exchange(waitingForSource_, {})) waiting();
    };
    connect(reader, &QProcess::finished, this, [decided] { decided(true); });
    connect(reader, &QProcess::errorOccurred, this, [decided](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) decided(false);
    });
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    reader->setProcessEnvironment(environment);
    reader->setStandardErrorFile(QProcess::nullDevice());
    reader->start(QStringLiteral("apt-cache"),
                  {QStringLiteral("policy"), QString::fromUtf8(PackageUpdates::packageName)});
}

// The same keys the checkup reads through UpdaterState::fromSettings.
void UpdaterModel::save() {
    settings_->beginGroup(group);
    settings_->setValue(QStringLiteral("automatic"), state_.automatic);
    settings_->setValue(QStringLiteral("critical"), state_.critical);
    settings_->setValue(QStringLiteral("available"), available());
    if (state_.lastCheck)
        settings_->setValue(QStringLiteral("lastCheck"), static_cast<qlonglong>(*state_.lastCheck));
    else
        settings_->remove(QStringLiteral("lastCheck"));
    settings_->endGroup();
    settings_->sync();
}

bool UpdaterModel::feedConfigured() const {
    return config_.feed.isValid() && config_.feed.scheme() == QLatin1String("https") && key_;
}

void UpdaterModel::checkIfDue() {
    if (!state_.automatic || state_.checking || installing_) return;
    if (!Appcast::checkDue(state_.lastCheck, state_.unreachable, now())) return;
    // A build with nowhere to ask stays quiet until the user asks.
    withSource([this] {
        if (source_ != UpdateSource::none) checkNow();
    });
}

QNetworkReply* UpdaterModel::get(const QUrl& url, std::uint64_t largest) {
    QNetworkRequest request(url);
    request.setTransferTimeout(static_cast<int>(config_.timeout.count()));
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Torvel/") + config_.runningVersion);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply* reply = network_->get(request);
    // Stops a body longer than it may be as soon as it shows, announced or not.
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply, largest](qint64 received, qint64 total) {
        // `total` is -1 until the server says how long the body is.
        if (static_cast<std::uint64_t>(std::max(received, total)) > largest) {
            reply->setProperty(tooLargeProperty, true);
            reply->abort();
        }
    });
    return reply;
}

void UpdaterModel::checkNow() {
    if (state_.checking) return;
    setError({});
    setNote({});
    change([](UpdaterState& state) { state.checking = true; });
    withSource([this] {
        if (source_ == UpdateSource::repository) {
            checkPackages();
        } else if (source_ == UpdateSource::vendorFeed && feedConfigured()) {
            checkFeed();
        } else {
            change([](UpdaterState& state) { state.checking = false; });
            setProblem(UpdateProblem::notSetUp);
            if (std::exchange(installAfterCheck_, false)) setInstalling(false);
        }
    });
}

void UpdaterModel::checkPackages() {
    packages_.check([this](const PackageKitUpdates::CheckResult& result) { packagesChecked(result); });
}

void UpdaterModel::packagesChecked(const PackageKitUpdates::CheckResult& result) {
    if (const auto* failure = std::get_if<PackageKitUpdates::Failure>(&result)) {
        checkFailed(fromStd(UpdateActionWords::problem(failure->problem)), failure->detail);
        return;
    }
    foundPackage_ = std::get<std::optional<QString>>(result);
    Appcast::Outcome outcome;
    if (foundPackage_) {
        const auto id = PackageUpdates::parseId(foundPackage_->toStdString());
        Appcast::Item item;
        item.version = PackageUpdates::displayVersion(id ? id->version : "");
        outcome.update = std::move(item);
    }
    change([&](UpdaterState& state) {
        Appcast::record(state, outcome, config_.runningVersion.toStdString(), now());
    });
    save();
    if (std::exchange(installAfterCheck_, false)) {
        if (foundPackage_)
            installPackage();
        else
            setInstalling(false);
    }
}

void UpdaterModel::installPackage() {
    setNote(fromStd(UpdateActionWords::installing(std::nullopt)));
    packages_.install(*foundPackage_, [this](std::optional<PackageKitUpdates::Failure> failure) {
        if (failure) {
            setNote({});
            failInstall(fromStd(UpdateActionWords::problem(failure->problem)), failure->detail);
            return;
        }
        foundPackage_.reset();
        succeeded();
    });
}

void UpdaterModel::succeeded() {
    const QString version = available();
    // What was found is no longer waiting: the package manager has it now.
    change([](UpdaterState& state) { state.noUpdateFound(); });
    save();
    setNote(fromStd(UpdateActionWords::installed(version.toStdString())));
    setInstalling(false);
    emit installed();
}

void UpdaterModel::checkFeed() {
    feedReply_ = get(config_.feed, largestFeed);
    // The reply owns the timer, so it cannot fire on a later check's reply.
    QTimer::singleShot(config_.deadline, feedReply_, [reply = feedReply_.data()] {
        reply->setProperty(tooSlowProperty, true);
        reply->abort();
    });
    connect(feedReply_, &QNetworkReply::finished, this,
            [this, reply = feedReply_.data()] { feedArrived(reply); });
}

void UpdaterModel::feedArrived(QNetworkReply* reply) {
    reply->deleteLater();
    if (reply->property(tooLargeProperty).toBool()) {
        checkFailed(fromStd(UpdateActionWords::feedFailure(FeedFailure::unreadable)));
        return;
    }
    if (reply->property(tooSlowProperty).toBool()) {
        checkFailed(fromStd(torvel::tr(Appcast::checkTooSlow)));
        return;
    }
    if (auto failure = requestFailure(reply)) {
        checkFailed(*failure);
        return;
    }
    const auto parsed = AppcastReader::read(reply->readAll(), reply->url());
    if (const auto* text = std::get_if<QString>(&parsed)) {
        checkFailed(*text);
        return;
    }
    const auto& items = std::get<std::vector<Appcast::Item>>(parsed);
    const std::string running = config_.runningVersion.toStdString();
    const auto outcome = Appcast::decide(items, running);
    if (outcome.error) {
        checkFailed(fromStd(*outcome.error));
        return;
    }
    found_ = outcome.update;
    change([&](UpdaterState& state) { Appcast::record(state, outcome, running, now()); });
    save();
    if (installAfterCheck_) {
        installAfterCheck_ = false;
        if (found_)
            download();
        else
            setInstalling(false);
    }
}

void UpdaterModel::checkFailed(const QString& text, const QString& detail) {
    const Appcast::Outcome failed{.update = std::nullopt, .error = text.toStdString()};
    change([&](UpdaterState& state) {
        Appcast::record(state, failed, config_.runningVersion.toStdString(), now());
    });
    save();
    setError(text, detail);
    if (installAfterCheck_) {
        installAfterCheck_ = false;
        setInstalling(false);
    }
}

void UpdaterModel::install() {
    if (installing_ || state_.checking) return;
    if (!state_.available) {
        setProblem(UpdateProblem::nothingToInstall);
        return;
    }
    setError({});
    setNote({});
    setInstalling(true);
    if (source_ == UpdateSource::repository && foundPackage_) {
        installPackage();
        return;
    }
    if (source_ == UpdateSource::vendorFeed && found_) {
        download();
        return;
    }
    // Known only from an earlier run: the package's address and signature come with a fresh read.
    installAfterCheck_ = true;
    checkNow();
}

void UpdaterModel::download() {
    const Appcast::Item item = *found_;
    packageReply_ = get(QUrl(fromStd(item.url)), item.length.value_or(0));
    connect(packageReply_, &QNetworkReply::finished, this,
            [this, reply = packageReply_.data(), item] { packageArrived(reply, item); });
}

void UpdaterModel::packageArrived(QNetworkReply* reply, const Appcast::Item& item) {
    reply->deleteLater();
    if (reply->property(tooLargeProperty).toBool()) {
        failInstall(fromStd(UpdateActionWords::feedFailure(FeedFailure::wrongSize)));
        return;
    }
    if (auto failure = requestFailure(reply)) {
        failInstall(*failure);
        return;
    }
    handOver(reply->readAll(), item);
}

void UpdaterModel::handOver(const QByteArray& package, const Appcast::Item& item) {
    QString base = config_.downloadDirectory;
    if (base.isEmpty()) base = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (base.isEmpty())
        base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
               QStringLiteral("/torvel");
    QString directory;
    const auto saved = savePrivately(base, package, directory);
    if (!saved) {
        removePrivately(directory);
        failInstall(fromStd(std::string(UpdateVerification::cannotSave)));
        return;
    }
    const auto bytes = std::span(reinterpret_cast<const unsigned char*>(saved->constData()),
                                 static_cast<std::size_t>(saved->size()));
    if (auto refused = UpdateVerification::verify(bytes, item.length.value_or(0), item.signature, *key_)) {
        removePrivately(directory);
        failInstall(fromStd(*refused));
        return;
    }
    // dpkg-deb reads the control data only; the package's own version is what PackageKit would install.
    const QString path = directory + QLatin1Char('/') + QLatin1String(packageName);
    versionReader_ = new QProcess(this);
    QProcess* reader = versionReader_;
    const auto read = [this, reader, directory, path, item](bool ran) {
        reader->deleteLater();
        std::optional<std::string> version;
        if (ran && reader->exitStatus() == QProcess::NormalExit && reader->exitCode() == 0)
            version = QString::fromUtf8(reader->readAllStandardOutput()).trimmed().toStdString();
        if (auto problem = UpdateVerification::packageVersionProblem(version, item.version,
                                                                     config_.runningVersion.toStdString())) {
            removePrivately(directory);
            failInstall(fromStd(*problem));
            return;
        }
        installHere(directory, path);
    };
    connect(reader, &QProcess::finished, this, [read] { read(true); });
    connect(reader, &QProcess::errorOccurred, this, [read](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) read(false);
    });
    reader->setStandardErrorFile(QProcess::nullDevice());
    reader->start(QStringLiteral("dpkg-deb"), {QStringLiteral("-f"), path, QStringLiteral("Version")});
}

void UpdaterModel::installHere(const QString& directory, const QString& path) {
    installer_.install(path, [this, directory](std::optional<QString> error) {
        removePrivately(directory);
        if (error) {
            failInstall(*error);
            return;
        }
        succeeded();
    });
}

void UpdaterModel::failInstall(const QString& text, const QString& detail) {
    setError(text, detail);
    setInstalling(false);
}

}  // namespace torvel::app
