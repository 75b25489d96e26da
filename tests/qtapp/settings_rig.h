#pragma once

#include <filesystem>
#include <fstream>
#include <memory>

#include "qt_support.h"
#include "service/charge_settings_model.h"
#include "service_fakes.h"

namespace torvel::app::testing {

namespace fs = std::filesystem;
using Status = ServiceRegistration::Status;

constexpr double start = 1'763'900'000;
inline const std::string ownDaemon = "/usr/libexec/torvel/torvel-daemon";

// One settings model over a temporary data directory, a hand-driven clock, and a fake service manager and
// service.
struct Rig {
    TempDir root;
    FakeCalls calls;
    FakeUnits units;
    double now = start;
    int elevateExit = 0;
    InstallationFacts installation{.ownDaemonPath = ownDaemon,
                                   .ownCopyInApplications = true,
                                   .appVersion = "0.1.0",
                                   .uninstallerPath = {}};
    std::unique_ptr<ChargeService> service;
    std::unique_ptr<ChargeSettings> settings;

    Rig() {
        qtApp();
        fs::create_directories(root.path() / "etc/systemd/system");
    }

    fs::path statusFile() const { return root.path() / "status.json"; }
    fs::path legacyUnit() const { return root.path() / "etc/systemd/system/torvel-daemon.service"; }

    void writeStatus(const std::string& fields, double age = 0) {
        std::ofstream(statusFile()) << R"({"ts":)" << std::to_string(now - age) << (fields.empty() ? "" : ",")
                                    << fields << "}";
    }

    ChargeSettings& make(std::optional<fs::path> uninstaller = std::nullopt) {
        service = std::make_unique<ChargeService>(
            units,
            ChargeService::Files{.legacyUnit = legacyUnit(), .installer = {}, .uninstaller = uninstaller},
            immediately(), [this](const fs::path&, std::function<void(int)> done) {
                if (elevateExit == 0) fs::remove(legacyUnit());
                done(elevateExit);
            });
        Paths paths{.config = root.path() / "config.json",
                    .status = statusFile(),
                    .history = root.path() / "history",
                    .log = root.path() / "daemon.log",
                    .powerSupply = root.path() / "sys"};
        settings = std::make_unique<ChargeSettings>(ChargeSettings::Dependencies{
            .paths = paths,
            .installation = installation,
            .lock = SystemLock{},
            .calls = calls,
            .service = *service,
            .clock = [this] { return now; },
            .after = immediately(),
        });
        return *settings;
    }
};

}  // namespace torvel::app::testing
