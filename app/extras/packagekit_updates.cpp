#include "extras/packagekit_updates.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <vector>

namespace torvel::app {

namespace {

const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString rootPath = QStringLiteral("/org/freedesktop/PackageKit");
const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// PackageKit's enumerations, as bit fields where a bit field is asked for.
constexpr qulonglong filterNone = 1ull << 1;
constexpr qulonglong onlyTrusted = 1ull << 1;
constexpr uint exitSuccess = 1;
constexpr uint exitCancelled = 3;
constexpr uint errorNotAuthorized = 48;
// PackageKit's "no idea how far".
constexpr uint percentageUnknown = 101;

}  // namespace

PackageKitUpdates::PackageKitUpdates(QDBusConnection bus, std::chrono::milliseconds checkDeadline,
                                     std::chrono::milliseconds installDeadline, QObject* parent)
    : QObject(parent),
      bus_(std::move(bus)),
      checkDeadline_(checkDeadline),
      installDeadline_(installDeadline) {
    deadline_.setSingleShot(true);
    connect(&deadline_, &QTimer::timeout, this, [this] {
        // Nothing waits for it any more: a transaction left running would still install or hold the lock.
        if (!transaction_.isEmpty()) {
            bus_.asyncCall(QDBusMessage::createMethodCall(service, transaction_, transactionInterface,
                                                          QStringLiteral("Cancel")));
        }
        finish({.failure = Failure{UpdateProblem::tooSlow, {}}, .packages = {}});
    });
}

PackageKitUpdates::~PackageKitUpdates() {
    subscribe(false);
}

void PackageKitUpdates::check(CheckDone done) {
    run(QStringLiteral("GetUpdates"), {QVariant::fromValue(filterNone)}, checkDeadline_,
        UpdateProblem::checkFailed, [done = std::move(done)](Outcome outcome) {
            if (outcome.failure) {
                done(*outcome.failure);
                return;
            }
            std::vector<std::string> ids;
            for (const auto& id : outcome.packages) ids.push_back(id.toStdString());
            const auto ours = PackageUpdates::newestOfOurs(ids);
            done(ours ? std::optional(QString::fromStdString(*ours)) : std::nullopt);
        });
}

void PackageKitUpdates::install(const QString& packageId, InstallDone done) {
    run(QStringLiteral("UpdatePackages"), {QVariant::fromValue(onlyTrusted), QStringList{packageId}},
        installDeadline_, UpdateProblem::installFailed,
        [done = std::move(done)](Outcome outcome) { done(std::move(outcome.failure)); });
}

void PackageKitUpdates::run(const QString& method, const QVariantList& arguments,
                            std::chrono::milliseconds deadline, UpdateProblem failed, Finished finished) {
    if (finished_) {
        finished({.failure = Failure{failed, {}}, .packages = {}});
        return;
    }
    finished_ = std::move(finished);
    failed_ = failed;
    errorCode_.reset();
    errorDetails_.clear();
    packages_.clear();
    if (!bus_.isConnected()) {
        finish({.failure = Failure{UpdateProblem::packageKitMissing, bus_.lastError().message()},
                .packages = {}});
        return;
    }
    deadline_.start(deadline);
    const int generation = ++generation_;
    const auto create =
        QDBusMessage::createMethodCall(service, rootPath, service, QStringLiteral("CreateTransaction"));
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(create), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, method, arguments, generation] {
            watcher->deleteLater();
            const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
            if (generation != generation_ || !finished_) return;  // the deadline came first
            if (reply.isError()) {
                finish({.failure = callFailure(reply.error()), .packages = {}});
                return;
            }
            transaction_ = reply.value().path();
            // Subscribed before the call, so a transaction that ends at once is not missed.
            subscribe(true);
            // Lets polkit ask for a password instead of refusing outright. Not awaited: the bus delivers one
            // connection's calls in order.
            auto hints = QDBusMessage::createMethodCall(service, transaction_, transactionInterface,
                                                        QStringLiteral("SetHints"));
            hints << QStringList{QStringLiteral("interactive=true")};
            bus_.asyncCall(hints);
            auto call = QDBusMessage::createMethodCall(service, transaction_, transactionInterface, method);
            call.setArguments(arguments);
            auto* callWatcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
            connect(callWatcher, &QDBusPendingCallWatcher::finished, this, [this, callWatcher, generation] {
                callWatcher->deleteLater();
                const QDBusPendingReply<> answer = *callWatcher;
                if (answer.isError() && generation == generation_ && finished_)
                    finish({.failure = callFailure(answer.error()), .packages = {}});
            });
        });
}

void PackageKitUpdates::subscribe(bool on) {
    if (transaction_.isEmpty()) return;
    struct Signal {
        const QString& interface;
        const char* name;
        const char* slot;
    };
    const Signal signals_[] = {
        {transactionInterface, "Package", SLOT(onPackage(uint, QString, QString))},
        {transactionInterface, "ErrorCode", SLOT(onErrorCode(uint, QString))},
        {transactionInterface, "Finished", SLOT(onFinished(uint, uint))},
        {propertiesInterface, "PropertiesChanged",
         SLOT(onPropertiesChanged(QString, QVariantMap, QStringList))},
    };
    for (const auto& signal : signals_) {
        const QString name = QString::fromLatin1(signal.name);
        if (on)
            bus_.connect(service, transaction_, signal.interface, name, this, signal.slot);
        else
            bus_.disconnect(service, transaction_, signal.interface, name, this, signal.slot);
    }
}

void PackageKitUpdates::onPackage(uint, const QString& packageId, const QString&) {
    packages_ << packageId;
}

void PackageKitUpdates::onErrorCode(uint code, const QString& details) {
    errorCode_ = code;
    errorDetails_ = details.trimmed();
}

void PackageKitUpdates::onPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                            const QStringList&) {
    if (interface != transactionInterface) return;
    const auto percentage = changed.find(QStringLiteral("Percentage"));
    if (percentage == changed.end()) return;
    const uint value = percentage->toUInt();
    emit progress(value == percentageUnknown || value > 100 ? -1 : static_cast<int>(value));
}

void PackageKitUpdates::onFinished(uint exit, uint) {
    if (exit == exitSuccess) {
        finish({.failure = std::nullopt, .packages = packages_});
        return;
    }
    const UpdateProblem problem = exit == exitCancelled              ? UpdateProblem::cancelled
                                  : errorCode_ == errorNotAuthorized ? UpdateProblem::notAllowed
                                                                     : failed_;
    finish({.failure = Failure{problem, errorDetails_}, .packages = {}});
}

PackageKitUpdates::Failure PackageKitUpdates::callFailure(const QDBusError& error) const {
    switch (error.type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::NoServer:
        case QDBusError::Disconnected:
            return {UpdateProblem::packageKitMissing, error.message()};
        case QDBusError::NoReply:
        case QDBusError::Timeout:
        case QDBusError::TimedOut:
            return {UpdateProblem::tooSlow, error.message()};
        case QDBusError::AccessDenied:
            return {UpdateProblem::notAllowed, error.message()};
        default:
            break;
    }
    // Polkit's refusals arrive under PackageKit's own error names.
    if (error.name().endsWith(QLatin1String("RefusedByPolicy")) ||
        error.name().endsWith(QLatin1String("NotAuthorized")))
        return {UpdateProblem::notAllowed, error.message()};
    return {failed_, error.message()};
}

void PackageKitUpdates::finish(Outcome outcome) {
    deadline_.stop();
    subscribe(false);
    transaction_.clear();
    // The callback may start the next transaction.
    auto finished = std::exchange(finished_, nullptr);
    if (finished) finished(std::move(outcome));
}

}  // namespace torvel::app
