// The real torvel-daemon executable, unprivileged, against a simulated power-supply tree and a private bus.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "battery_model.h"
#include "common/files.h"
#include "common/json.h"
#include "common/paths.h"
#include "private_bus.h"
#include "service/settings.h"
#include "sysfs_tree.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;

class ServiceProcess : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/torvel-process-XXXXXX";
        root_ = ::mkdtemp(pattern);
        paths_ = Paths::fromEnvironment([&](const char* name) -> std::optional<std::string> {
            if (std::string_view(name) == "TORVEL_ROOT") return root_.string();
            if (std::string_view(name) == "TORVEL_SYSFS") return (root_ / "sys").string();
            return std::nullopt;
        });
        tree_.emplace(paths_.powerSupply, battery_);
        ASSERT_FALSE(tree_->create());
        ASSERT_TRUE(bus_.start(false));
    }
    void TearDown() override {
        service_.stop(SIGKILL);
        fs::remove_all(root_);
    }

    void writeConfig(const Settings& settings) {
        fs::create_directories(paths_.dataDirectory());
        ASSERT_FALSE(writeWholeFile(paths_.config, settingsMessage(settings)));
    }
    void startService() {
        ASSERT_TRUE(
            service_.start({TORVEL_DAEMON_EXECUTABLE},
                           {"TORVEL_ROOT=" + root_.string(), "TORVEL_SYSFS=" + paths_.powerSupply.string(),
                            "DBUS_SYSTEM_BUS_ADDRESS=" + bus_.address()}));
    }
    // Moves the simulated battery until `done` or ten seconds; every status file seen must parse whole.
    bool runUntil(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline) {
            tree_->absorbWrites();
            battery_.advance(1);
            tree_->publish();
            if (auto bytes = readWholeFile(paths_.status); std::holds_alternative<std::string>(bytes)) {
                EXPECT_TRUE(json::parseObject(std::get<std::string>(bytes))) << std::get<std::string>(bytes);
            }
            if (done()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

    fs::path root_;
    Paths paths_;
    sim::SimulatedBattery battery_{{.startPercent = 95}};
    std::optional<sim::SysfsTree> tree_;
    testing::PrivateBus bus_;
    testing::Child service_;
};

TEST_F(ServiceProcess, SigtermDuringAForcedDischargeLeavesAutoAndTheLimit) {
    Settings settings;
    settings.limit = 60;
    settings.discharge = true;
    writeConfig(settings);
    startService();
    ASSERT_TRUE(runUntil([&] { return battery_.behaviourValue() == "force-discharge"; }));
    EXPECT_EQ(battery_.endThresholdValue(), 60);
    ASSERT_TRUE(runUntil([&] { return fs::exists(paths_.status) && fs::exists(paths_.history); }));

    const int status = service_.stop(SIGTERM);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    tree_->absorbWrites();
    EXPECT_EQ(battery_.behaviourValue(), "auto");
    EXPECT_EQ(battery_.endThresholdValue(), 60);
    EXPECT_EQ(battery_.startThresholdValue(), 55);
}

TEST_F(ServiceProcess, AfterSigkillTheNextStartTakesTheDischargeBack) {
    Settings settings;
    settings.limit = 60;
    settings.discharge = true;
    writeConfig(settings);
    startService();
    ASSERT_TRUE(runUntil([&] { return battery_.behaviourValue() == "force-discharge"; }));
    service_.stop(SIGKILL);
    tree_->absorbWrites();
    ASSERT_EQ(battery_.behaviourValue(), "force-discharge");

    settings.discharge = false;
    writeConfig(settings);
    startService();
    EXPECT_TRUE(runUntil([&] { return battery_.behaviourValue() == "auto"; }))
        << std::get<std::string>(readWholeFile(paths_.log));
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
    EXPECT_EQ(json::text(*object, "discharge"), "force-discharge");
    EXPECT_EQ(json::boolean(*object, "led"), false);
    battery_.clearWrites();
    tree_->absorbWrites();
    EXPECT_TRUE(battery_.writes().empty());
}

}  // namespace
}  // namespace torvel::daemon
