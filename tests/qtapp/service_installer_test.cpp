#include "service/service_installer.h"

#include <gtest/gtest.h>

#include <fstream>

#include "qt_support.h"

namespace torvel::app::testing {
namespace {

using Operation = ServiceInstaller::Operation;
using Outcome = ServiceInstaller::Outcome;

void writeScript(const fs::path& path, const std::string& body) {
    std::ofstream(path) << "#!/bin/sh\n" << body;
    fs::permissions(path, fs::perms::owner_all);
}

// A pkexec that logs what it was asked to run, then answers as the file `answer` says: its own exit code,
// or "run" to run the helper as the real one does once the password is given.
struct FakePkexec {
    fs::path dir;

    explicit FakePkexec(const fs::path& where) : dir(where) {
        writeScript(dir / "pkexec", "echo \"$@\" >>\"" + (dir / "asked").string() + "\"\n" +
                                        "answer=$(cat \"" + (dir / "answer").string() + "\")\n" +
                                        "[ \"$answer\" = run ] && exec \"$@\"\nexit \"$answer\"\n");
        // The helpers fail the way the real ones do when the daemon they are given is not there.
        const std::string helper =
            "[ $# -eq 0 ] || [ -x \"$1\" ] || { echo \"$(basename \"$0\"): no executable at $1\" >&2; exit "
            "1; }\n";
        writeScript(dir / "install-service", helper);
        writeScript(dir / "uninstall-service", "exit 0\n");
    }
    void answer(const std::string& how) const { std::ofstream(dir / "answer") << how; }
    std::string asked() const {
        std::ifstream in(dir / "asked");
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

struct Ending {
    Outcome outcome = Outcome::done;
    bool finished = false;
};

Ending runToEnd(ServiceInstaller& installer, const std::function<void()>& start) {
    Ending run;
    const auto connection =
        QObject::connect(&installer, &ServiceInstaller::finished, [&run](Operation, Outcome outcome) {
            run.outcome = outcome;
            run.finished = true;
        });
    start();
    spinUntil([&run] { return run.finished; });
    QObject::disconnect(connection);
    return run;
}

TEST(ServiceInstaller, InstallingThroughTheHelperEndsByThePromptAndTheHelper) {
    const struct {
        const char* answer;
        bool daemonExists;
        Outcome outcome;
        std::string error;
    } cases[] = {
        {"run", true, Outcome::done, ""},
        {"126", true, Outcome::cancelled, ""},
        {"127", true, Outcome::failed, "Torvel wasn’t allowed to change the charge service."},
        {"run", false, Outcome::failed, "install-service: no executable at "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer);
        Rig rig(Status::notFound);
        ChargeSettingsModel& settings = rig.make();
        const FakePkexec pkexec(rig.root.path());
        pkexec.answer(c.answer);
        const fs::path daemon = rig.root.path() / (c.daemonExists ? "install-service" : "no-daemon");
        ServiceInstaller installer(
            settings, {.installer = rig.root.path() / "install-service",
                       .uninstaller = rig.root.path() / "uninstall-service",
                       .daemon = daemon,
                       .elevator = QString::fromStdString((rig.root.path() / "pkexec").string())});
        bool sawWord = false;
        QObject::connect(&installer, &ServiceInstaller::progressWordChanged, [&] {
            sawWord = sawWord || installer.progressWord() == QStringLiteral("Installing…");
        });

        const Ending run = runToEnd(installer, [&] { installer.install(); });
        ASSERT_TRUE(run.finished);
        EXPECT_TRUE(sawWord);
        EXPECT_FALSE(installer.busy());
        EXPECT_EQ(run.outcome, c.outcome);
        const std::string expectedError = c.daemonExists ? c.error : c.error + daemon.string();
        EXPECT_EQ(installer.error().toStdString(), expectedError);
        EXPECT_EQ(settings.serviceError().toStdString(), expectedError)
            << "the page explains the same failure";
        EXPECT_EQ(pkexec.asked(),
                  (rig.root.path() / "install-service").string() + " " + daemon.string() + "\n");
        EXPECT_EQ(rig.fake.log, "") << "no unit existed, so the service manager had nothing to switch on";
    }
}

TEST(ServiceInstaller, EachOperationTakesTheDoorItsUnitCameThrough) {
    const fs::path own = "/usr/libexec/torvel/torvel-daemon";
    const struct {
        const char* name;
        Status unit;
        bool helperUnit;
        void (ServiceInstaller::*operation)();
        std::string asked;  // of pkexec, the helper's file name and arguments
        std::string log;    // of the service manager and the service
    } cases[] = {
        {"install over a disabled package unit", Status::notRegistered, false, &ServiceInstaller::install, "",
         "enable;"},
        {"remove a package's service", Status::enabled, false, &ServiceInstaller::removeEverything, "",
         "purge;disable;"},
        {"remove a helper's service", Status::enabled, true, &ServiceInstaller::removeEverything,
         "uninstall-service\n", ""},
        {"reinstall a helper's service", Status::enabled, true, &ServiceInstaller::reinstall,
         "install-service " + own.string() + "\n", ""},
        {"reinstall a package's service", Status::enabled, false, &ServiceInstaller::reinstall, "",
         "disable;enable;"},
        {"update", Status::enabled, false, &ServiceInstaller::update, "", "restart;"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(c.unit);
        if (c.helperUnit) std::ofstream(rig.legacyUnit()) << "[Service]\nExecStart=" << own.string() << "\n";
        ChargeSettingsModel& settings = rig.make();
        const FakePkexec pkexec(rig.root.path());
        pkexec.answer("0");
        ServiceInstaller installer(
            settings, {.installer = rig.root.path() / "install-service",
                       .uninstaller = rig.root.path() / "uninstall-service",
                       .daemon = own,
                       .elevator = QString::fromStdString((rig.root.path() / "pkexec").string())});
        const Ending run = runToEnd(installer, [&] { (installer.*c.operation)(); });
        ASSERT_TRUE(run.finished);
        EXPECT_EQ(run.outcome, Outcome::done);
        std::string asked = pkexec.asked();
        if (const auto slash = asked.find(rig.root.path().string() + "/"); slash == 0) {
            asked.erase(0, rig.root.path().string().size() + 1);
        }
        EXPECT_EQ(asked, c.asked);
        EXPECT_EQ(rig.fake.log, c.log);
    }
}

TEST(ServiceInstaller, ResettingTheCounterIsASaveThatCanFail) {
    Rig rig(Status::enabled);
    ChargeSettingsModel& settings = rig.make();
    ServiceInstaller installer(settings, {});

    Ending run;
    QObject::connect(&installer, &ServiceInstaller::finished, [&run](Operation, Outcome outcome) {
        run = {outcome, true};
    });
    installer.resetCounter();
    EXPECT_EQ(installer.progressWord(), QStringLiteral("Resetting…"));
    ASSERT_EQ(rig.fake.applies.size(), 1u);
    rig.fake.applies[0].done(std::string("The charge service stopped responding."));
    EXPECT_TRUE(run.finished);
    EXPECT_EQ(run.outcome, Outcome::failed);
    EXPECT_EQ(installer.error(), QStringLiteral("The charge service stopped responding."));
    EXPECT_EQ(settings.writeError(), installer.error()) << "a failed save is a write error like any other";

    run = {};
    installer.resetCounter();
    EXPECT_FALSE(run.finished) << "with the service unreachable the reset is not offered";
}

}  // namespace
}  // namespace torvel::app::testing
