#pragma once

#include <QDBusConnection>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "extras/appcast.h"
#include "extras/package_installer.h"
#include "extras/packagekit_updates.h"

class QNetworkAccessManager;
class QNetworkReply;
class QProcess;

namespace torvel::app {

// Checks for a newer Torvel and, when the user asks, installs it: through PackageKit when this copy came from
// a package repository, from the signed feed when its package was installed by hand. Nothing is downloaded
// for installing and nothing installs until `install()` is called; every failure ends in `error`, with the
// system's own words apart in `errorDetail`.
class UpdaterModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString available READ available NOTIFY availableChanged)
    Q_PROPERTY(bool critical READ critical NOTIFY criticalChanged)
    Q_PROPERTY(bool checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(QDateTime lastCheck READ lastCheck NOTIFY lastCheckChanged)
    Q_PROPERTY(bool unreachable READ unreachable NOTIFY unreachableChanged)
    Q_PROPERTY(bool automatic READ automatic WRITE setAutomatic NOTIFY automaticChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString shortText READ shortText NOTIFY shortTextChanged)
    Q_PROPERTY(bool installing READ installing NOTIFY installingChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(QString errorDetail READ errorDetail NOTIFY errorChanged)
    Q_PROPERTY(bool canInstall READ canInstall NOTIFY canInstallChanged)
    Q_PROPERTY(QString checkTitle READ checkTitle NOTIFY checkingChanged)
    Q_PROPERTY(QString installTitle READ installTitle NOTIFY installingChanged)
    // What an installation under way or just finished says: its progress, then its result.
    Q_PROPERTY(QString note READ note NOTIFY noteChanged)
    Q_PROPERTY(QString automaticLabel READ automaticLabel CONSTANT)
    Q_PROPERTY(QString help READ help NOTIFY helpChanged)

  public:
    struct Config {
        QUrl feed;
        QString publicKey;  // base64 Ed25519 public key the packages are signed with
        QString runningVersion;
        std::chrono::milliseconds timeout{std::chrono::seconds(30)};  // without a byte arriving
        // The whole check: a server that keeps sending a byte now and then never trips `timeout`.
        std::chrono::milliseconds deadline{std::chrono::minutes(2)};
        // Empty: the app's own settings ("Torvel"/"Torvel"), which the checkup also reads.
        QString settingsFile;
        // Where the private directory a verified package waits in for PackageKit is made; empty:
        // $XDG_RUNTIME_DIR, or the user's cache directory without one.
        QString downloadDirectory;
        QDBusConnection systemBus = QDBusConnection::systemBus();
        std::function<Instant()> clock;  // empty: the wall clock
        // Empty: TORVEL_UPDATE_SOURCE when it names one, else what apt says of the installed package.
        std::optional<UpdateSource> source;
        // PackageKit's installation waits for a password too.
        std::chrono::milliseconds installDeadline{std::chrono::minutes(15)};
    };

    // The feed address and key this build was configured with, the running version and the system bus.
    static Config buildConfig();

    // `network` may be shared with the rest of the app; without one the updater makes its own.
    explicit UpdaterModel(Config config, QNetworkAccessManager* network = nullptr, QObject* parent = nullptr);
    ~UpdaterModel() override;

    QString available() const;
    bool critical() const { return state_.critical; }
    bool checking() const { return state_.checking; }
    QDateTime lastCheck() const;
    bool unreachable() const { return state_.unreachable; }
    bool automatic() const { return state_.automatic; }
    void setAutomatic(bool on);
    QString status() const;
    QString shortText() const;
    bool installing() const { return installing_; }
    QString error() const { return error_; }
    QString errorDetail() const { return errorDetail_; }
    bool canInstall() const;
    QString checkTitle() const;
    QString installTitle() const;
    QString note() const { return note_; }
    static QString automaticLabel();
    QString help() const;

    const UpdaterState& state() const { return state_; }

    Q_INVOKABLE void checkNow();
    // Downloads the update found, verifies it and hands it to PackageKit. When the update is only known from
    // an earlier run, the feed is read again first.
    Q_INVOKABLE void install();

  signals:
    void availableChanged();
    void criticalChanged();
    void checkingChanged();
    void lastCheckChanged();
    void unreachableChanged();
    void automaticChanged();
    void statusChanged();
    void shortTextChanged();
    void installingChanged();
    void errorChanged();
    void canInstallChanged();
    void noteChanged();
    void helpChanged();
    // PackageKit installed the update; it takes effect when the app starts again.
    void installed();

  private:
    Instant now() const;
    void change(const std::function<void(UpdaterState&)>& edit);
    // Each property derived from the state announces itself when it moved since it was last announced.
    void announce();
    void setError(QString text, QString detail = {});
    void setProblem(UpdateProblem problem, QString detail = {});
    void setNote(QString text);
    void setInstalling(bool on);
    // Runs `then` once the source is known: at once, or when apt has answered.
    void withSource(std::function<void()> then);
    void checkPackages();
    void packagesChecked(const PackageKitUpdates::CheckResult& result);
    void installPackage();
    void succeeded();
    void save();
    void checkIfDue();
    QNetworkReply* get(const QUrl& url, std::uint64_t largest);
    void feedArrived(QNetworkReply* reply);
    void checkFeed();
    void checkFailed(const QString& text, const QString& detail = {});
    void download();
    void packageArrived(QNetworkReply* reply, const Appcast::Item& item);
    void handOver(const QByteArray& package, const Appcast::Item& item);
    void installHere(const QString& directory, const QString& path);
    void failInstall(const QString& text, const QString& detail = {});
    bool feedConfigured() const;

    Config config_;
    QNetworkAccessManager* network_;
    std::unique_ptr<QNetworkAccessManager> ownNetwork_;
    std::unique_ptr<QSettings> settings_;
    PackageInstaller installer_;
    PackageKitUpdates packages_;
    std::optional<UpdateSource> source_;
    QPointer<QProcess> sourceReader_;
    std::vector<std::function<void()>> waitingForSource_;
    std::optional<QString> foundPackage_;
    QTimer schedule_;
    UpdaterState state_;
    std::optional<Appcast::Item> found_;
    std::optional<UpdateVerification::PublicKey> key_;
    QPointer<QNetworkReply> feedReply_;
    QPointer<QNetworkReply> packageReply_;
    QPointer<QProcess> versionReader_;
    bool installing_ = false;
    bool installAfterCheck_ = false;
    QString error_;
    QString errorDetail_;
    QString note_;
    // What the properties last announced, to tell which of them a change moved.
    UpdaterState announced_;
    QString status_;
    QString shortText_;
    bool canInstall_ = false;
    QString help_;
};

}  // namespace torvel::app
