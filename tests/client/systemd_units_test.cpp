#include "systemd_units.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "harness.h"

namespace torvel::client {
namespace {

using namespace std::chrono_literals;
using Status = ServiceRegistration::Status;
using testing::FakeService;
using Answer = FakeService::Answer;
using Calls = std::vector<std::string>;

constexpr FakeService::Address systemd{"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                       "org.freedesktop.systemd1.Manager"};

class SystemdUnitsTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { privateBus = new testing::PrivateBus; }
    static void TearDownTestSuite() { delete privateBus; }
    void SetUp() override { ASSERT_FALSE(privateBus->address().empty()) << "dbus-daemon did not start"; }

    // What the manager was asked, as "Member signature argument".
    static Calls calls(const FakeService& manager) {
        Calls calls;
        for (const auto& call : manager.received()) {
            calls.push_back(call.member + " " + call.signature + " " + call.argument);
        }
        return calls;
    }

    static inline testing::PrivateBus* privateBus = nullptr;
};

TEST_F(SystemdUnitsTest, ReadsTheUnitFileStateWithoutWaitingOnAHungManager) {
    const struct {
        const char* name;
        std::optional<Answer> manager;  // absent: no manager on the bus
        Status expected;
    } cases[] = {
        {"enabled", Answer{.message = "enabled", .signature = "s"}, Status::enabled},
        {"disabled", Answer{.message = "disabled", .signature = "s"}, Status::notRegistered},
        {"unknown unit",
         Answer{.message = "No such unit.", .errorName = "org.freedesktop.systemd1.NoSuchUnit"},
         Status::notFound},
        {"hung manager", Answer{.kind = Answer::silent}, Status::notFound},
        {"no manager", std::nullopt, Status::notFound},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::unique_ptr<FakeService> manager;
        if (c.manager) {
            manager = std::make_unique<FakeService>(privateBus->address(), *c.manager, systemd);
            manager->serveInBackground();
        }
        const auto bus = Bus::at(privateBus->address());
        SystemdUnits units(*bus);
        const auto began = testing::Clock::now();
        EXPECT_EQ(units.status(), c.expected);
        EXPECT_LT(testing::Clock::now() - began, SystemdUnits::stateTimeout + 500ms);
        if (manager) {
            manager->leave();
            EXPECT_EQ(calls(*manager), Calls{"GetUnitFileState s torvel-daemon.service"});
        }
    }
}

TEST_F(SystemdUnitsTest, SwitchesTheUnitInTwoStepsAndStopsAtTheFirstRefusal) {
    const Calls enable = {"EnableUnitFiles asbb torvel-daemon.service", "StartUnit ss torvel-daemon.service"};
    const Calls disable = {"DisableUnitFiles asb torvel-daemon.service", "StopUnit ss torvel-daemon.service"};
    const Answer refused{.message = "Access denied", .errorName = "org.freedesktop.DBus.Error.AccessDenied"};
    const struct {
        bool on;
        Answer answer;
        Calls expected;
        std::optional<std::string> error;
    } cases[] = {
        {true, {}, enable, std::nullopt},
        {false, {}, disable, std::nullopt},
        {true, refused, {enable[0]}, "Access denied"},
        {false, refused, {disable[0]}, "Access denied"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected.front());
        FakeService manager(privateBus->address(), c.answer, systemd);
        const auto bus = Bus::at(privateBus->address());
        SystemdUnits units(*bus);
        std::optional<std::optional<RegistrationError>> outcome;
        const auto done = [&](const std::optional<RegistrationError>& error) { outcome = error; };
        if (c.on) {
            units.enableAndStart(done);
        } else {
            units.disableAndStop(done);
        }
        ASSERT_TRUE(testing::spinUntil(
            {bus.get()}, &manager, [&] { return outcome.has_value(); }, 5s));
        EXPECT_EQ(calls(manager), c.expected);
        EXPECT_EQ(outcome->has_value() ? std::optional((*outcome)->description) : std::nullopt, c.error);
    }
}

TEST_F(SystemdUnitsTest, AServiceRunOutsideSystemdKeepsItsStateAndRefusesChanges) {
    const auto bus = Bus::at("unix:path=/nonexistent/bus");
    SystemdUnits units(*bus, "enabled");
    EXPECT_EQ(units.status(), Status::enabled);
    std::optional<RegistrationError> refusal;
    units.enableAndStart([&](const std::optional<RegistrationError>& error) { refusal = error; });
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->description, "The charge service is not run by systemd here.");
}

TEST(SystemdUnits, UnitFileStatesAndErrorsInTheRegistrationsTerms) {
    const std::pair<const char*, Status> states[] = {{"enabled", Status::enabled},
                                                     {"enabled-runtime", Status::enabled},
                                                     {"disabled", Status::notRegistered},
                                                     {"masked", Status::notRegistered}};
    for (const auto& [state, status] : states)
        EXPECT_EQ(SystemdUnits::statusFromUnitFileState(state), status);

    const std::tuple<const char*, const char*, std::string> errors[] = {
        {"org.freedesktop.systemd1.NoSuchUnit", "Unit torvel-daemon.service not found.",
         "Part of Torvel is missing. Download it again and try once more."},
        {"org.freedesktop.DBus.Error.AccessDenied", "Access denied", "Access denied"},
        {"org.freedesktop.DBus.Error.NoReply", "", "org.freedesktop.DBus.Error.NoReply"},
    };
    for (const auto& [name, message, text] : errors) {
        const RegistrationError error = SystemdUnits::errorFrom(name, message);
        EXPECT_EQ(explainRegistrationError(error.code, error.description), text) << name;
    }
}

}  // namespace
}  // namespace torvel::client

namespace torvel::client {
namespace {

TEST(ReadUnitFiles, HelperUnitIsARealFileAndThePackageMayLiveUnderLib) {
    namespace fs = std::filesystem;
    const fs::path root = fs::temp_directory_path() / ("torvel-units-" + std::to_string(::getpid()));
    fs::create_directories(root / "etc/systemd/system");
    fs::create_directories(root / "lib/systemd/system");
    std::ofstream(root / "lib/systemd/system/torvel-daemon.service") << "ExecStart=/usr/libexec/t\n";
    // systemctl enable leaves a link like this one; it is no unit of the helper's.
    fs::create_symlink(root / "lib/systemd/system/torvel-daemon.service",
                       root / "etc/systemd/system/torvel-daemon.service");
    UnitFiles units = readUnitFiles(root);
    EXPECT_FALSE(units.helper);
    EXPECT_EQ(units.package, "ExecStart=/usr/libexec/t\n");

    fs::remove(root / "etc/systemd/system/torvel-daemon.service");
    std::ofstream(root / "etc/systemd/system/torvel-daemon.service") << "ExecStart=/opt/t\n";
    units = readUnitFiles(root);
    EXPECT_EQ(units.helper, "ExecStart=/opt/t\n");
    fs::remove_all(root);
}

}  // namespace
}  // namespace torvel::client
