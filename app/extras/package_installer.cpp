#include "extras/package_installer.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "extras/package_updates.h"

namespace torvel::app {

namespace {

QString words(FeedFailure failure) {
    return QString::fromStdString(UpdateActionWords::feedFailure(failure));
}

const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString rootPath = QStringLiteral("/org/freedesktop/PackageKit");
const QString rootInterface = QStringLiteral("org.freedesktop.PackageKit");
const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

// PackageKit's exit and error numbers that change what the user is told.
constexpr uint exitSuccess = 1;
constexpr uint exitCancelled = 3;

QString callFailure(const QDBusError& error) {
    switch (error.type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::Disconnected:
        case QDBusError::NoServer:
        case QDBusError::NoReply:
        case QDBusError::Timeout:
        case QDBusError::TimedOut:
            return words(FeedFailure::packageKitMissing);
        case QDBusError::AccessDenied:
            return words(FeedFailure::notAllowed);
        default:
            break;
    }
    // Polkit refusals arrive as PackageKit's own error names.
    if (error.name().contains(QLatin1String("RefusedByPolicy")) ||
        error.name().contains(QLatin1String("NotAuthorized"))) {
        return words(FeedFailure::notAllowed);
    }
    return QString::fromStdString(UpdateActionWords::installFailed(error.message().toStdString()));
}

}  // namespace

PackageInstaller::PackageInstaller(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {}

void PackageInstaller::install(const QString& packagePath, Done done) {
    if (done_) {
        done(words(FeedFailure::alreadyInstalling));
        return;
    }
    done_ = std::move(done);
    errorDetails_.clear();
    if (!bus_.isConnected()) {
        finish(words(FeedFailure::packageKitMissing));
        return;
    }
    const auto call =
        QDBusMessage::createMethodCall(service, rootPath, rootInterface, QStringLiteral("CreateTransaction"));
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, packagePath] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            finish(callFailure(reply.error()));
            return;
        }
        startTransaction(reply.value().path(), packagePath);
    });
}

void PackageInstaller::startTransaction(const QString& transactionPath, const QString& packagePath) {
    transaction_ = transactionPath;
    // Subscribed before the call so a transaction that ends at once is not missed.
    bus_.connect(service, transaction_, transactionInterface, QStringLiteral("ErrorCode"), this,
                 SLOT(onErrorCode(uint, QString)));
    bus_.connect(service, transaction_, transactionInterface, QStringLiteral("Finished"), this,
                 SLOT(onFinished(uint, uint)));

    // Lets polkit ask for a password instead of refusing outright. Not awaited: the bus delivers one
    // connection's calls in order, so the hint is in place before the installation starts.
    auto hints = QDBusMessage::createMethodCall(service, transaction_, transactionInterface,
                                                QStringLiteral("SetHints"));
    hints << QStringList{QStringLiteral("interactive=true")};
    bus_.asyncCall(hints);

    auto call = QDBusMessage::createMethodCall(service, transaction_, transactionInterface,
                                               QStringLiteral("InstallFiles"));
    // No flags: the package is not from a trusted repository, and its signature has been checked here.
    call << QVariant::fromValue(qulonglong{0}) << QStringList{packagePath};
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<> reply = *watcher;
        if (reply.isError()) finish(callFailure(reply.error()));
    });
}

void PackageInstaller::onErrorCode(uint, const QString& details) {
    errorDetails_ = details.trimmed();
}

void PackageInstaller::onFinished(uint exit, uint) {
    if (exit == exitSuccess) {
        finish(std::nullopt);
    } else if (exit == exitCancelled) {
        finish(words(FeedFailure::cancelled));
    } else if (!errorDetails_.isEmpty()) {
        // PackageKit's own sentence says what went wrong, a refused password included.
        finish(QString::fromStdString(UpdateActionWords::installFailed(errorDetails_.toStdString())));
    } else {
        finish(words(FeedFailure::installFailed));
    }
}

void PackageInstaller::finish(std::optional<QString> error) {
    if (!transaction_.isEmpty()) {
        bus_.disconnect(service, transaction_, transactionInterface, QStringLiteral("ErrorCode"), this,
                        SLOT(onErrorCode(uint, QString)));
        bus_.disconnect(service, transaction_, transactionInterface, QStringLiteral("Finished"), this,
                        SLOT(onFinished(uint, uint)));
        transaction_.clear();
    }
    // The callback may start the next installation.
    auto done = std::exchange(done_, nullptr);
    if (done) done(std::move(error));
}

}  // namespace torvel::app
