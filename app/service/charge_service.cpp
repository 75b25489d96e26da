#include "service/charge_service.h"

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

ChargeService::ChargeService(UnitControl& units, Files files, Scheduler after, Elevate elevate,
                             QObject* parent)
    : QObject(parent),
      units_(units),
      files_(std::move(files)),
      after_(std::move(after)),
      elevate_(std::move(elevate)) {
    refresh();
}

std::optional<std::string> ChargeService::migrationCommand() const {
    return torvel::migrationCommand(files_.uninstaller ? std::optional(files_.uninstaller->string())
                                                       : std::nullopt);
}

void ChargeService::refresh() {
    registration_ = decideRegistration(units_.status(), client::readUnitFiles(files_.root));
    emit changed();
}

void ChargeService::setLastError(std::optional<std::string> error) {
    lastError_ = std::move(error);
    emit changed();
}

void ChargeService::fail(const RegistrationError& error) {
    lastError_ = explainRegistrationError(error.code, error.description);
}

void ChargeService::install(std::function<void()> done) {
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

void ChargeService::remove(std::function<void()> done) {
    units_.disableAndStop([this, done](const std::optional<RegistrationError>& error) {
        if (error) fail(*error);
        refresh();
        finish(done);
    });
}

void ChargeService::reRegister(std::function<void()> done) {
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

void ChargeService::refreshService(ServiceCalls& calls, std::function<void()> done) {
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

void ChargeService::repoint(std::function<void()> done) {
    reRegister(std::move(done));
}

ChargeService::LegacyRemoval ChargeService::legacyRemovalFromExitCode(int code) {
    if (code == 0) return LegacyRemoval::removed;
    // pkexec's answer when the user dismisses the password prompt.
    if (code == 126) return LegacyRemoval::cancelled;
    return LegacyRemoval::failed;
}

void ChargeService::removeLegacy(std::function<void(LegacyRemoval)> done) {
    if (!files_.uninstaller) {
        refresh();
        return done(LegacyRemoval::failed);
    }
    elevate_(*files_.uninstaller, [this, done](int exitCode) {
        refresh();
        done(legacyRemovalFromExitCode(exitCode));
    });
}

ChargeService::Elevate ChargeService::pkexec() {
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

ChargeService::Scheduler ChargeService::qtTimers(QObject* context) {
    return
        [guard = QPointer<QObject>(context)](std::chrono::milliseconds delay, std::function<void()> action) {
            if (!guard) return;
            QTimer::singleShot(delay, guard.data(), std::move(action));
        };
}

}  // namespace torvel::app
