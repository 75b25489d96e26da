#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <optional>
#include <variant>

#include "extras/package_updates.h"

namespace torvel::app {

// Asks PackageKit on the system bus whether a newer Torvel package exists, and installs it when asked
// (PackageKit asks polkit). One transaction at a time, each with a total deadline; every answer arrives
// through the event loop.
class PackageKitUpdates : public QObject {
    Q_OBJECT

  public:
    struct Failure {
        UpdateProblem problem;
        QString detail;  // the system's own words, when it gave any
    };
    // The package id of Torvel's update, none when there is none, or why the check failed.
    using CheckResult = std::variant<std::optional<QString>, Failure>;
    using CheckDone = std::function<void(CheckResult)>;
    using InstallDone = std::function<void(std::optional<Failure>)>;

    PackageKitUpdates(QDBusConnection bus, std::chrono::milliseconds checkDeadline,
                      std::chrono::milliseconds installDeadline, QObject* parent = nullptr);
    ~PackageKitUpdates() override;

    void check(CheckDone done);
    void install(const QString& packageId, InstallDone done);
    bool busy() const { return static_cast<bool>(finished_); }

  signals:
    // 0 to 100, or -1 while PackageKit cannot tell.
    void progress(int percent);

  private slots:
    void onPackage(uint info, const QString& packageId, const QString& summary);
    void onErrorCode(uint code, const QString& details);
    void onFinished(uint exit, uint runtime);
    void onPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&);

  private:
    struct Outcome {
        std::optional<Failure> failure;
        QStringList packages;
    };
    using Finished = std::function<void(Outcome)>;

    void run(const QString& method, const QVariantList& arguments, std::chrono::milliseconds deadline,
             UpdateProblem failed, Finished finished);
    void subscribe(bool on);
    void finish(Outcome outcome);
    Failure callFailure(const QDBusError& error) const;

    QDBusConnection bus_;
    std::chrono::milliseconds checkDeadline_;
    std::chrono::milliseconds installDeadline_;
    QTimer deadline_;
    QString transaction_;
    UpdateProblem failed_ = UpdateProblem::checkFailed;
    std::optional<uint> errorCode_;
    QString errorDetails_;
    QStringList packages_;
    Finished finished_;
    // Tells a late reply to a transaction given up on from one of the next transaction.
    int generation_ = 0;
};

}  // namespace torvel::app
