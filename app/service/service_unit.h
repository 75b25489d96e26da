#pragma once

#include <QObject>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "service/service_state.h"
#include "service_client.h"
#include "systemd_units.h"

namespace torvel::app {

using client::RegistrationError;
using client::ServiceCalls;
using client::UnitControl;

// The charge service's registration with the service manager, and the repairs that act on it. Every
// failure lands in lastError in the user's words; none is raised.
class ServiceUnit : public QObject {
    Q_OBJECT

  public:
    enum class LegacyRemoval { removed, cancelled, failed };

    struct Files {
        // The machine root the unit files are read under ("/" outside tests).
        std::filesystem::path root = "/";
        std::optional<std::filesystem::path> installer;    // install-service, when this copy ships it
        std::optional<std::filesystem::path> uninstaller;  // uninstall-service, when this copy ships it
    };

    // Runs `action` after `delay` on the main thread; tests pass one that runs at once.
    using Scheduler = std::function<void(std::chrono::milliseconds delay, std::function<void()> action)>;
    // Runs the uninstaller with administrator rights and reports its exit code (126: prompt dismissed).
    using Elevate =
        std::function<void(const std::filesystem::path& uninstaller, std::function<void(int)> done)>;

    // The pause between unregistering and registering again, so the manager has let go of the old unit.
    static constexpr std::chrono::milliseconds reRegisterDelay{700};

    ServiceUnit(UnitControl& units, Files files, Scheduler after, Elevate elevate, QObject* parent = nullptr);

    ServiceRegistration registration() const { return registration_; }
    bool installed() const { return registration_.installed(); }
    bool needsMigration() const { return registration_.needsMigration(); }
    const std::optional<std::string>& lastError() const { return lastError_; }
    // A failure of the install helper is a registration failure too; success clears the last one.
    void setLastError(std::optional<std::string> error);
    std::optional<std::string> migrationCommand() const;
    const Files& files() const { return files_; }

    void refresh();
    void install(std::function<void()> done = {});
    void remove(std::function<void()> done = {});
    // Restarts a running service, or registers it afresh when the restart call fails.
    void refreshService(ServiceCalls& calls, std::function<void()> done = {});
    // Unregisters and registers again, so the unit runs this copy's executable.
    void repoint(std::function<void()> done = {});
    void removeLegacy(std::function<void(LegacyRemoval)> done);

    static LegacyRemoval legacyRemovalFromExitCode(int code);
    // pkexec through the desktop's polkit agent.
    static Elevate pkexec();
    static Scheduler qtTimers(QObject* context);

  signals:
    void changed();

  private:
    void fail(const RegistrationError& error);
    void reRegister(std::function<void()> done);

    UnitControl& units_;
    Files files_;
    Scheduler after_;
    Elevate elevate_;
    ServiceRegistration registration_;
    std::optional<std::string> lastError_;
};

}  // namespace torvel::app
