#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "service/bus_address.h"
#include "service/charge_settings_model.h"

namespace torvel::app::testing {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Status = ServiceRegistration::Status;

// One application object for the whole binary, offscreen so no display is needed.
inline QGuiApplication& qtApp() {
    static int argc = 1;
    static char name[] = "qtapp_tests";
    static char* argv[] = {name, nullptr};
    static QGuiApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        return new QGuiApplication(argc, argv);
    }();
    return *app;
}

// Runs the event loop until `done` holds or five seconds pass; returns whether it held.
inline bool spinUntil(const std::function<bool()>& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

struct TempDir {
    QTemporaryDir dir;
    fs::path path() const { return dir.path().toStdString(); }
};

// The charge service and systemd as the models reach them. Every call but status() is logged in order;
// applies wait for the test to answer them.
struct FakeSystem : ServiceCalls, UnitControl {
    struct PendingApply {
        Settings settings;
        Completion done;
        ApplyCompletion answer;  // the whole answer, with the service's words
    };
    std::vector<PendingApply> applies;
    std::string log;
    Status state = Status::notRegistered;
    int statusCalls = 0;
    Result restartResult;

    template <class T = std::nullopt_t>
    T note(const std::string& call, T result = std::nullopt) {
        log += call + ";";
        return result;
    }
    void apply(const Settings& settings, const SettingsExtra&, ApplyCompletion done, Timeout) override {
        applies.push_back({settings, [done](const Result& error) { done({error, std::nullopt}); }, done});
    }
    void purgeAllData(Completion done, Timeout) override { done(note("purge")); }
    void releaseCharge(Completion done, Timeout timeout) override {
        done(note("release " + std::to_string(timeout.value_or(0ms).count())));
    }
    void restart(Completion done, Timeout) override { done(note("restart", restartResult)); }
    Status status() override {
        ++statusCalls;
        return state;
    }
    void enableAndStart(Done done) override {
        state = Status::enabled;
        done(note("enable"));
    }
    void disableAndStop(Done done) override {
        state = Status::notRegistered;
        done(note("disable"));
    }
};

// One settings model over a temporary data directory, a hand-driven clock and fake services. Delays pass at
// once: the tests look at order and outcome, not at the wall clock.
struct Rig {
    TempDir root;
    FakeSystem fake;
    double now = 1'763'900'000;
    int elevateExit = 0;
    InstallationFacts installation{.ownDaemonPath = "/usr/libexec/torvel/torvel-daemon",
                                   .ownCopyInApplications = true,
                                   .appVersion = "0.1.0",
                                   .uninstallerPath = {}};
    std::unique_ptr<ServiceUnit> service;
    std::unique_ptr<ChargeSettingsModel> settings;

    explicit Rig(Status unit = Status::notRegistered) {
        qtApp();
        fake.state = unit;
        fs::create_directories(root.path() / "etc/systemd/system");
    }

    fs::path legacyUnit() const { return root.path() / "etc/systemd/system" / bus::unitName; }
    // What an install helper left before the package came: a unit running another daemon than the package's.
    void shadowThePackage() {
        fs::create_directories(root.path() / "usr/lib/systemd/system");
        std::ofstream(root.path() / "usr/lib/systemd/system" / bus::unitName)
            << "[Service]\nExecStart=/usr/libexec/torvel/torvel-daemon\n";
        std::ofstream(legacyUnit()) << "[Service]\nExecStart=/usr/local/libexec/torvel/torvel-daemon\n";
    }

    void writeStatus(const std::string& fields, double age = 0) {
        std::ofstream(root.path() / "status.json")
            << R"({"ts":)" << std::to_string(now - age) << "," << fields << "}";
    }

    ChargeSettingsModel& make(std::optional<fs::path> uninstaller = std::nullopt) {
        const auto immediately = [](std::chrono::milliseconds, std::function<void()> action) { action(); };
        service = std::make_unique<ServiceUnit>(
            fake, ServiceUnit::Files{.root = root.path(), .installer = {}, .uninstaller = uninstaller},
            immediately, [this](const fs::path&, std::function<void(int)> done) {
                if (elevateExit == 0) fs::remove(legacyUnit());
                done(elevateExit);
            });
        const fs::path dir = root.path();
        const Paths paths{.config = dir / "config.json",
                          .status = dir / "status.json",
                          .history = dir / "history",
                          .log = dir / "daemon.log",
                          .powerSupply = dir / "sys"};
        settings = std::make_unique<ChargeSettingsModel>(ChargeSettingsModel::Dependencies{
            paths, installation, SystemLock{}, fake, *service, [this] { return now; }, immediately});
        return *settings;
    }
};

}  // namespace torvel::app::testing
