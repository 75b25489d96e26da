#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "service/charge_settings_model.h"

namespace torvel::app {

// The charge service's whole life as the pages drive it: install, replace, update, reinstall, remove with
// its data, and the reset of the protected-time counter. One operation runs at a time; each ends done,
// cancelled (the password prompt was dismissed) or failed, and a failure is one short text in `error`,
// which also reaches the service's error the pages explain.
class ServiceInstaller : public QObject {
    Q_OBJECT
    Q_PROPERTY(Operation operation READ operation NOTIFY operationChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(QString progressWord READ progressWord NOTIFY progressWordChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

  public:
    enum class Operation { none, install, migrate, update, reinstall, removeEverything, resetCounter };
    Q_ENUM(Operation)
    enum class Outcome { done, cancelled, failed };
    Q_ENUM(Outcome)

    struct Helpers {
        std::optional<std::filesystem::path> installer;    // install-service beside this copy's daemon
        std::optional<std::filesystem::path> uninstaller;  // uninstall-service beside it
        std::filesystem::path daemon;                      // the executable the installed unit is to run
        // What raises the helpers to administrator rights; tests put a script of their own here.
        QString elevator = QStringLiteral("pkexec");

        // The helpers and the daemon of the running copy: its libexec once installed, its daemon/ folder
        // in a build tree. Root needs no prompt.
        static Helpers besideThisCopy();
    };

    // pkexec's answers of its own, apart from the helper's exit status.
    static constexpr int promptDismissed = 126;
    static constexpr int notAuthorised = 127;

    ServiceInstaller(ChargeSettingsModel& settings, Helpers helpers, QObject* parent = nullptr);

    Operation operation() const { return operation_; }
    bool busy() const { return operation_ != Operation::none; }
    QString progressWord() const;
    QString error() const { return error_; }
    const Helpers& helpers() const { return helpers_; }

    // The word a button reads while its operation runs.
    static QString progressWord(Operation operation);

  public slots:
    void install();
    // "Replace the service…": the helper's unit that hides the package's goes, the package's comes back.
    void migrate();
    void update();
    void reinstall();
    void removeEverything();
    void resetCounter();

  signals:
    void operationChanged();
    void busyChanged();
    void progressWordChanged();
    void errorChanged();
    void finished(ServiceInstaller::Operation operation, ServiceInstaller::Outcome outcome);

  private:
    bool begin(Operation operation);
    void end(Outcome outcome, std::optional<std::string> failure);
    // Ends the operation by what the service manager left in the service's error.
    void endFromService();
    // Runs a helper with administrator rights, then reads the registration again.
    void runHelper(const std::filesystem::path& helper, const QStringList& arguments);

    ChargeSettingsModel& settings_;
    Helpers helpers_;
    Operation operation_ = Operation::none;
    QString error_;
};

}  // namespace torvel::app
