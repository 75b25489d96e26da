#include "service/service_unit.h"

#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <system_error>

namespace torvel::app {

namespace {
void finish(const std::function<void()>& done) {
    if (done) done();
}
}  // namespace

ServiceUnit::ServiceUnit(UnitControl& units, Files files, Scheduler after, Elevate elevate, QObject* parent)
    : QObject(parent),
      units_(units),
      files_(std::move(files)),
      after_(std::move(after)),
      elevate_(std::move(elevate)) {
    refresh();
}

std::optional<std::string> ServiceUnit::migrationCommand() const {
    return torvel::migrationCommand(files_.uninstaller ? std::optional(files_.uninstaller->string())
                                                       : std::nullopt);
}

void ServiceUnit::refresh() {
    registration_ = decideRegistration(units_.status(), client::readUnitFiles(files_.root));
    emit changed();
}

void ServiceUnit::setLastError(std::optional<std::string> error) {
    lastError_ = std::move(error);
    emit changed();
}

void ServiceUnit::fail(const RegistrationError& error) {
    lastError_ = explainRegistrationError(error.code, error.description);
}

void ServiceUnit::install(std::function<void()> done) {
    if (needsMigration()) {
        lastError_ = std::string(legacyServicePresentText());
        refresh();
        return finish(done);
    }
    units_.enableAndStart([this, done](const std::optional<RegistrationError>& error) {
        if (error)
            fail(*error);
        else
            lastError_.reset();
        refresh();
        finish(done);
    });
}

void ServiceUnit::remove(std::function<void()> done) {
    units_.disableAndStop([this, done](const std::optional<RegistrationError>& error) {
        if (error) fail(*error);
        refresh();
        finish(done);
    });
}

void ServiceUnit::reRegister(std::function<void()> done) {
    units_.disableAndStop([this, done](const std::optional<RegistrationError>& error) {
        if (error) {
            fail(*error);
            refresh();
            return finish(done);
        }
        after_(reRegisterDelay, [this, done] {
            units_.enableAndStart([this, done](const std::optional<RegistrationError>& again) {
                if (again)
                    fail(*again);
                else
                    lastError_.reset();
                refresh();
                finish(done);
            });
        });
    });
}

void ServiceUnit::refreshService(ServiceCalls& calls, std::function<void()> done) {
    calls.restart(
        [this, done](const ServiceCalls::Result& error) {
            if (!error) {
                refresh();
                return finish(done);
            }
            reRegister(done);
        },
        std::nullopt);
}

void ServiceUnit::repoint(std::function<void()> done) {
    reRegister(std::move(done));
}

ServiceUnit::LegacyRemoval ServiceUnit::legacyRemovalFromExitCode(int code) {
    if (code == 0) return LegacyRemoval::removed;
    // pkexec's answer when the user dismisses the password prompt.
    if (code == 126) return LegacyRemoval::cancelled;
    return LegacyRemoval::failed;
}

void ServiceUnit::removeLegacy(std::function<void(LegacyRemoval)> done) {
    if (!files_.uninstaller) {
        refresh();
        return done(LegacyRemoval::failed);
    }
    elevate_(*files_.uninstaller, [this, done](int exitCode) {
        refresh();
        done(legacyRemovalFromExitCode(exitCode));
    });
}

ServiceUnit::Elevate ServiceUnit::pkexec() {
    return [](const std::filesystem::path& uninstaller, std::function<void(int)> done) {
        auto* process = new QProcess;
        QObject::connect(process, &QProcess::finished, process,
                         [process, done](int code, QProcess::ExitStatus status) {
                             process->deleteLater();
                             done(status == QProcess::NormalExit ? code : -1);
                         });
        QObject::connect(process, &QProcess::errorOccurred, process,
                         [process, done](QProcess::ProcessError error) {
                             if (error != QProcess::FailedToStart) return;
                             process->deleteLater();
                             done(-1);
                         });
        process->start(QStringLiteral("pkexec"),
                       {QStringLiteral("/bin/bash"), QString::fromStdString(uninstaller.string()),
                        QStringLiteral("--keep-data")});
    };
}

ServiceUnit::Scheduler ServiceUnit::qtTimers(QObject* context) {
    return
        [guard = QPointer<QObject>(context)](std::chrono::milliseconds delay, std::function<void()> action) {
            if (!guard) return;
            QTimer::singleShot(delay, guard.data(), std::move(action));
        };
}

}  // namespace torvel::app
