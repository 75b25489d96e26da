#include "service/service_installer.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QPointer>
#include <QProcess>

#include "service/control_words.h"

namespace torvel::app {

namespace {

// The helpers say what went wrong on their last line of error output ("install-service: no executable at
// …"); that line names the operation and the object.
std::string lastLine(const QByteArray& output) {
    const QList<QByteArray> lines = output.trimmed().split('\n');
    return lines.isEmpty() ? std::string() : lines.back().trimmed().toStdString();
}

}  // namespace

ServiceInstaller::Helpers ServiceInstaller::Helpers::besideThisCopy() {
    const std::filesystem::path tools =
        serviceToolsDirectory(QCoreApplication::applicationDirPath().toStdString());
    const auto present = [](const std::filesystem::path& path) -> std::optional<std::filesystem::path> {
        std::error_code error;
        if (std::filesystem::exists(path, error)) return path;
        return std::nullopt;
    };
    Helpers helpers{.installer = present(tools / "install-service"),
                    .uninstaller = present(tools / "uninstall-service"),
                    .daemon = tools / "torvel-daemon"};
    if (::geteuid() == 0) helpers.elevator.clear();
    return helpers;
}

ServiceInstaller::ServiceInstaller(ChargeSettingsModel& settings, Helpers helpers, QObject* parent)
    : QObject(parent), settings_(settings), helpers_(std::move(helpers)) {}

QString ServiceInstaller::progressWord(Operation operation) {
    using Work = ServiceWorkWords::Work;
    const auto word = [](Work work) { return QString::fromStdString(ServiceWorkWords::progress(work)); };
    switch (operation) {
        case Operation::none:
            return {};
        case Operation::install:
            return word(Work::install);
        case Operation::migrate:
            return word(Work::migrate);
        case Operation::update:
            return word(Work::update);
        case Operation::reinstall:
            return word(Work::reinstall);
        case Operation::removeEverything:
            return word(Work::removeEverything);
        case Operation::resetCounter:
            return word(Work::resetCounter);
    }
    return {};
}

QString ServiceInstaller::progressWord() const {
    return progressWord(operation_);
}

bool ServiceInstaller::begin(Operation operation) {
    if (busy()) return false;
    operation_ = operation;
    emit operationChanged();
    emit busyChanged();
    emit progressWordChanged();
    if (!error_.isEmpty()) {
        error_.clear();
        emit errorChanged();
    }
    return true;
}

void ServiceInstaller::end(Outcome outcome, std::optional<std::string> failure) {
    const Operation finishedOperation = operation_;
    if (failure) {
        error_ = QString::fromStdString(*failure);
        emit errorChanged();
    }
    operation_ = Operation::none;
    emit operationChanged();
    emit busyChanged();
    emit progressWordChanged();
    emit finished(finishedOperation, outcome);
}

void ServiceInstaller::endFromService() {
    settings_.syncService();
    const auto& failure = settings_.service().lastError();
    end(failure ? Outcome::failed : Outcome::done, failure);
}

void ServiceInstaller::runHelper(const std::filesystem::path& helper, const QStringList& arguments) {
    auto* process = new QProcess(this);
    QPointer<ServiceInstaller> self(this);
    const auto finish = [this, self, process, helper](int exitCode, bool started) {
        process->deleteLater();
        if (!self) return;
        std::optional<std::string> failure;
        Outcome outcome = Outcome::done;
        if (!started) {
            outcome = Outcome::failed;
            failure =
                "cannot run " + helpers_.elevator.toStdString() + ": " + process->errorString().toStdString();
        } else if (exitCode == promptDismissed && !helpers_.elevator.isEmpty()) {
            outcome = Outcome::cancelled;
        } else if (exitCode == notAuthorised && !helpers_.elevator.isEmpty()) {
            outcome = Outcome::failed;
            failure = ServiceWorkWords::notAllowed();
        } else if (exitCode != 0) {
            outcome = Outcome::failed;
            const std::string said = lastLine(process->readAllStandardError());
            failure = said.empty()
                          ? helper.filename().string() + " failed with status " + std::to_string(exitCode)
                          : said;
        }
        // A dismissed prompt changed nothing and is no error; the rest is the service's error too.
        if (outcome != Outcome::cancelled) settings_.service().setLastError(failure);
        settings_.syncService();
        end(outcome, failure);
    };
    connect(process, &QProcess::finished, this, [finish](int code, QProcess::ExitStatus status) {
        finish(status == QProcess::NormalExit ? code : -1, true);
    });
    connect(process, &QProcess::errorOccurred, this, [finish](QProcess::ProcessError problem) {
        if (problem == QProcess::FailedToStart) finish(-1, false);
    });
    QStringList command = arguments;
    command.prepend(QString::fromStdString(helper.string()));
    if (helpers_.elevator.isEmpty()) {
        const QString program = command.takeFirst();
        process->start(program, command);
    } else {
        process->start(helpers_.elevator, command);
    }
}

void ServiceInstaller::install() {
    if (!begin(Operation::install)) return;
    ServiceUnit& service = settings_.service();
    service.refresh();
    if (installRoute(service.registration(), helpers_.installer.has_value()) == ServiceRoute::helper) {
        return runHelper(*helpers_.installer, {QString::fromStdString(helpers_.daemon.string())});
    }
    if (service.registration().status == ServiceRegistration::Status::notFound) {
        // No unit anywhere and no helper to place one: this copy is incomplete.
        service.setLastError(explainRegistrationError(2, ""));
        return endFromService();
    }
    service.install([this] { endFromService(); });
}

void ServiceInstaller::migrate() {
    if (!settings_.serviceNeedsMigration() || !begin(Operation::migrate)) return;
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = connect(&settings_, &ChargeSettingsModel::migratingChanged, this, [this, connection] {
        if (settings_.migrating()) return;
        disconnect(*connection);
        if (!settings_.serviceNeedsMigration()) return endFromService();
        if (settings_.migrationFallback()) {
            return end(Outcome::failed, ServiceWorkWords::migrationFallback());
        }
        end(Outcome::cancelled, std::nullopt);
    });
    settings_.migrateLegacyService();
}

void ServiceInstaller::update() {
    if (!begin(Operation::update)) return;
    settings_.service().refreshService(settings_.calls(), [this] { endFromService(); });
}

void ServiceInstaller::reinstall() {
    if (!begin(Operation::reinstall)) return;
    ServiceUnit& service = settings_.service();
    service.refresh();
    // A helper's unit is placed again, which also restarts the service; a package's is registered afresh.
    if (service.registration().byHelper && helpers_.installer) {
        return runHelper(*helpers_.installer, {QString::fromStdString(helpers_.daemon.string())});
    }
    service.repoint([this] { endFromService(); });
}

void ServiceInstaller::removeEverything() {
    if (!begin(Operation::removeEverything)) return;
    ServiceUnit& service = settings_.service();
    service.refresh();
    if (removalRoute(service.registration(), helpers_.uninstaller.has_value()) == ServiceRoute::helper) {
        // The helper asks the service to purge its data and hand charging back before it goes.
        return runHelper(*helpers_.uninstaller, {});
    }
    settings_.removeEverything([this] { endFromService(); });
}

void ServiceInstaller::resetCounter() {
    if (!settings_.canReachService() || !begin(Operation::resetCounter)) return;
    settings_.resetProtected([this](const std::optional<std::string>& failure) {
        end(failure ? Outcome::failed : Outcome::done, failure);
    });
}

}  // namespace torvel::app
