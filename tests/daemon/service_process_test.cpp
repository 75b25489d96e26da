// The real torvel-daemon executable, unprivileged, against a simulated power-supply tree and a private bus.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>
#include <functional>

#include "battery_model.h"
#include "common/files.h"
#include "common/json.h"
#include "common/paths.h"
#include "harness.h"
#include "service/published_status.h"
#include "service/settings.h"
#include "sysfs_tree.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;
using namespace std::chrono_literals;

class ServiceProcess : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(tree_.create());
        ASSERT_TRUE(bus_.start(false));
    }
    void TearDown() override { service_.stop(SIGKILL); }

    void startService(const Settings& settings, std::vector<std::string> env = {}) {
        fs::create_directories(paths_.dataDirectory());
        ASSERT_FALSE(writeWholeFile(paths_.config, settingsMessage(settings)));
        startAgain(service_, std::move(env));
    }
    // Another run of the executable over the same files, tree and bus unless `env` says otherwise.
    void startAgain(testing::Child& child, std::vector<std::string> env = {}) {
        for (std::string line :
             {"TORVEL_ROOT=" + root_.path.string(), "TORVEL_SYSFS=" + paths_.powerSupply.string(),
              "DBUS_SYSTEM_BUS_ADDRESS=" + bus_.address()})
            env.push_back(line);
        ASSERT_TRUE(child.start({TORVEL_DAEMON_EXECUTABLE}, env));
    }
    // Moves the simulated battery until `done` or ten seconds; every status file seen must parse whole.
    bool runUntil(const std::function<bool()>& done) {
        for (int tries = 0; tries < 500; ++tries) {
            tree_.absorbWrites();
            battery_.advance(1);
            tree_.publish();
            if (auto bytes = readWholeFile(paths_.status); std::holds_alternative<std::string>(bytes)) {
                EXPECT_TRUE(json::parseObject(std::get<std::string>(bytes))) << std::get<std::string>(bytes);
            }
            if (done()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }
    bool behaviourBecomes(const char* value) {
        return runUntil([&] { return battery_.behaviourValue() == value; });
    }

    testing::TempDir root_;
    Paths paths_ = testing::pathsUnder(root_.path);
    sim::SimulatedBattery battery_{{.startPercent = 95}};
    sim::SysfsTree tree_{paths_.powerSupply, battery_};
    testing::PrivateBus bus_;
    testing::Child service_;
};

TEST_F(ServiceProcess, NoWayOfStoppingLeavesTheDischargeRunningForGood) {
    startService({.limit = 60, .discharge = true});
    ASSERT_TRUE(behaviourBecomes("force-discharge"));
    ASSERT_TRUE(runUntil([&] { return fs::exists(paths_.status) && fs::exists(paths_.history); }));
    const int status = service_.stop(SIGTERM);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    tree_.absorbWrites();
    EXPECT_EQ(battery_.behaviourValue(), "auto");
    EXPECT_EQ(battery_.endThresholdValue(), 60);
    EXPECT_EQ(battery_.startThresholdValue(), 55);

    // SIGKILL leaves no chance to clean up: the next start takes the discharge back instead.
    startService({.limit = 60, .discharge = true});
    ASSERT_TRUE(behaviourBecomes("force-discharge"));
    service_.stop(SIGKILL);
    tree_.absorbWrites();
    ASSERT_EQ(battery_.behaviourValue(), "force-discharge");
    startService({.limit = 60});
    EXPECT_TRUE(behaviourBecomes("auto")) << std::get<std::string>(readWholeFile(paths_.log));

    // Nor does it wait for a next start: the unit's ExecStopPost= step hands the charger back at once,
    // keeping the thresholds so the firmware goes on holding the limit.
    service_.stop(SIGKILL);
    startService({.limit = 60, .discharge = true});
    ASSERT_TRUE(behaviourBecomes("force-discharge"));
    service_.stop(SIGKILL);
    testing::Child handBack;
    ASSERT_TRUE(handBack.start({TORVEL_DAEMON_EXECUTABLE, "--hand-back"},
                               {"TORVEL_SYSFS=" + paths_.powerSupply.string()}));
    const auto ended = handBack.exited(5s);
    ASSERT_TRUE(ended && WIFEXITED(*ended) && WEXITSTATUS(*ended) == 0);
    tree_.absorbWrites();
    EXPECT_EQ(battery_.behaviourValue(), "auto");
    EXPECT_EQ(battery_.endThresholdValue(), 60);
    EXPECT_EQ(battery_.startThresholdValue(), 55);
}

TEST_F(ServiceProcess, ASecondInstanceLeavesAtOnceWithoutTouchingTheBattery) {
    startService({.limit = 60});
    ASSERT_TRUE(runUntil([&] { return fs::exists(paths_.status) && battery_.endThresholdValue() == 60; }));

    // Another state directory and battery, the same bus: the name is taken.
    testing::TempDir otherRoot;
    const Paths other = testing::pathsUnder(otherRoot.path);
    sim::SimulatedBattery otherBattery{{.startPercent = 95}};
    sim::SysfsTree otherTree{other.powerSupply, otherBattery};
    ASSERT_FALSE(otherTree.create());
    otherBattery.clearWrites();
    testing::Child second;
    startAgain(second,
               {"TORVEL_ROOT=" + otherRoot.path.string(), "TORVEL_SYSFS=" + other.powerSupply.string()});
    auto ended = second.exited(3s);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(WIFEXITED(*ended) && WEXITSTATUS(*ended) != 0) << *ended;
    otherTree.absorbWrites();
    EXPECT_TRUE(otherBattery.writes().empty());
    EXPECT_FALSE(fs::exists(other.status));

    // The same state directory on another bus: the lock is taken.
    testing::PrivateBus otherBus;
    ASSERT_TRUE(otherBus.start(false));
    battery_.clearWrites();
    testing::Child third;
    startAgain(third, {"DBUS_SYSTEM_BUS_ADDRESS=" + otherBus.address()});
    ended = third.exited(3s);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(WIFEXITED(*ended) && WEXITSTATUS(*ended) != 0) << *ended;
    EXPECT_EQ(service_.exited(0ms), std::nullopt);  // the first one runs on
}

TEST_F(ServiceProcess, HangupReadsTheSettingsAgainAndRestartEndsWithTheStatusTheUnitRestarts) {
    startService({.limit = 60}, {"INVOCATION_ID=0123456789abcdef"});
    ASSERT_TRUE(runUntil([&] { return battery_.endThresholdValue() == 60; }));
    ASSERT_FALSE(writeWholeFile(paths_.config, settingsMessage({.limit = 70})));
    ASSERT_EQ(::kill(service_.pid(), SIGHUP), 0);
    EXPECT_TRUE(runUntil([&] { return battery_.endThresholdValue() == 70; }));
    EXPECT_EQ(service_.exited(0ms), std::nullopt);

    sd_bus* client = testing::connect(bus_.address());
    ASSERT_NE(client, nullptr);
    sd_bus_message* reply = nullptr;
    int ok = 0;
    const char* message = nullptr;
    ASSERT_GE(sd_bus_call_method(client, "com.torvel.Daemon", "/com/torvel/Daemon", "com.torvel.Daemon1",
                                 "Restart", nullptr, &reply, ""),
              0);
    sd_bus_message_read(reply, "bs", &ok, &message);
    EXPECT_TRUE(ok);
    sd_bus_message_unref(reply);
    sd_bus_flush_close_unref(client);
    const auto ended = service_.exited(5s);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(WIFEXITED(*ended) && WEXITSTATUS(*ended) == 75) << *ended;
}

TEST_F(ServiceProcess, ABatteryTakenOutIsPublishedAbsentAndTakenUpAgainWhenBack) {
    startService({.limit = 60});
    ASSERT_TRUE(runUntil([&] { return fs::exists(paths_.status) && battery_.endThresholdValue() == 60; }));
    const auto published = [&](const char* key) {
        const auto status = PublishedStatus::decode(std::get<std::string>(readWholeFile(paths_.status)));
        return status ? json::text(status->encode(), key).value_or("") : "";
    };
    const auto waitFor = [&](const std::function<bool()>& done) {
        for (int tries = 0; tries < 250 && !done(); ++tries) std::this_thread::sleep_for(20ms);
        return done();
    };

    // Out of the bay; back with the firmware's own thresholds, as some machines reset them.
    const fs::path bay = paths_.powerSupply / "BAT0", away = root_.path / "BAT0-away";
    fs::rename(bay, away);
    EXPECT_TRUE(waitFor([&] { return published("state") == "absent"; }));
    EXPECT_NE(std::get<std::string>(readWholeFile(paths_.log)).find("battery removed"), std::string::npos);
    battery_.setThreshold(Threshold::start, 0);
    battery_.setThreshold(Threshold::end, 100);
    ASSERT_FALSE(writeWholeFile(away / "charge_control_start_threshold", "0"));
    ASSERT_FALSE(writeWholeFile(away / "charge_control_end_threshold", "100"));
    fs::rename(away, bay);
    EXPECT_TRUE(runUntil([&] { return battery_.endThresholdValue() == 60 && published("state") == "hold"; }))
        << published("state");
    EXPECT_NE(std::get<std::string>(readWholeFile(paths_.log)).find("battery back"), std::string::npos);
}

TEST_F(ServiceProcess, SendsWatchdogKeepAlivesWhenTheUnitAsksForThem) {
    const fs::path socketPath = root_.path / "notify";
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    startService({.limit = 60}, {"NOTIFY_SOCKET=" + socketPath.string(), "WATCHDOG_USEC=400000"});
    std::string heard;
    for (int tries = 0; tries < 100 && heard.find("WATCHDOG=1") == std::string::npos; ++tries) {
        char buffer[256];
        const ssize_t n = ::recv(listener.get(), buffer, sizeof buffer, MSG_DONTWAIT);
        if (n > 0) heard.append(buffer, static_cast<std::size_t>(n)).push_back('\n');
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_NE(heard.find("WATCHDOG=1"), std::string::npos) << heard;
}

TEST_F(ServiceProcess, AFifoAtTheSettingsPathIsKeptAsideInsteadOfBlockingTheStart) {
    fs::create_directories(paths_.dataDirectory());
    ASSERT_EQ(::mkfifo(paths_.config.c_str(), 0644), 0);
    startAgain(service_);
    // The tree takes the service's write on its next look, which may come after the status file.
    EXPECT_TRUE(runUntil(
        [&] { return fs::exists(paths_.status) && battery_.endThresholdValue() == Settings{}.limit; }));
    auto kept = paths_.config;
    kept += ".bad";
    EXPECT_EQ(fs::status(kept).type(), fs::file_type::fifo);
}

TEST_F(ServiceProcess, ProbeReportsWhatTheTreeOffersAndChangesNothing) {
    testing::Child probe;
    std::string answer;
    ASSERT_TRUE(probe.start({TORVEL_DAEMON_EXECUTABLE, "--probe", "--json"},
                            {"TORVEL_SYSFS=" + paths_.powerSupply.string()}, &answer));
    const auto object = json::parseObject(answer);
    ASSERT_TRUE(object) << answer;
    EXPECT_EQ(json::boolean(*object, "supported"), true);
    EXPECT_EQ(json::text(*object, "mode"), "thresholds+behaviour");
    battery_.clearWrites();
    tree_.absorbWrites();
    EXPECT_TRUE(battery_.writes().empty());
}

}  // namespace
}  // namespace torvel::daemon
