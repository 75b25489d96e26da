// The real torvel-daemon executable, unprivileged, against a simulated power-supply tree and a private bus.

#include <gtest/gtest.h>

#include <functional>

#include "battery_model.h"
#include "common/files.h"
#include "common/json.h"
#include "common/paths.h"
#include "harness.h"
#include "service/settings.h"
#include "sysfs_tree.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

class ServiceProcess : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(tree_.create());
        ASSERT_TRUE(bus_.start(false));
    }
    void TearDown() override { service_.stop(SIGKILL); }

    void startService(const Settings& settings) {
        fs::create_directories(paths_.dataDirectory());
        ASSERT_FALSE(writeWholeFile(paths_.config, settingsMessage(settings)));
        ASSERT_TRUE(service_.start(
            {TORVEL_DAEMON_EXECUTABLE},
            {"TORVEL_ROOT=" + root_.path.string(), "TORVEL_SYSFS=" + paths_.powerSupply.string(),
             "DBUS_SYSTEM_BUS_ADDRESS=" + bus_.address()}));
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
