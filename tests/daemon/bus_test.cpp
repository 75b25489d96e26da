#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "battery_model.h"
#include "bus/authoriser.h"
#include "bus/bus_service.h"
#include "charge_service.h"
#include "common/files.h"
#include "private_bus.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;
using testing::PrivateBus;

constexpr uid_t strangerUid = 4242;

struct ServiceCommands final : BusCommands {
    ChargeService& service;
    std::atomic<int> restarts{0};
    explicit ServiceCommands(ChargeService& s) : service(s) {}
    CallReply applySettings(std::string_view message) override { return service.applySettings(message, 1e9); }
    CallReply purgeAllData() override { return service.purgeAllData(1e9); }
    CallReply releaseCharge() override { return service.releaseCharge(1e9); }
    void restart() override { ++restarts; }
};

// The service's bus side on its own thread and connection, over a real ChargeService and a simulated battery
// in a temporary root; the test thread is the caller.
class BusTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/torvel-bus-XXXXXX";
        root_ = ::mkdtemp(pattern);
        paths_ = Paths::fromEnvironment([&](const char* name) -> std::optional<std::string> {
            if (std::string_view(name) == "TORVEL_ROOT") return root_.string();
            return std::nullopt;
        });
    }
    void TearDown() override {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        sd_bus_flush_close_unref(client_);
        fs::remove_all(root_);
    }

    void startService(bool withPolkit) {
        ASSERT_TRUE(bus_.start(withPolkit));
        std::atomic<bool> ready{false};
        thread_ = std::thread([this, &ready] {
            sd_event* event = nullptr;
            sd_event_new(&event);
            sd_bus* bus = testing::connect(bus_.address());
            sd_bus_attach_event(bus, event, 0);
            sim::SimulatedBattery battery({.startPercent = 60});
            ChargeService service(paths_, battery, {"9.9", "/test"}, 1e9);
            ServiceCommands commands(service);
            Authoriser authoriser(bus, ::geteuid(), [this](sd_bus_message*) { return callerUid_.load(); });
            BusService busService(bus, commands, authoriser);
            startError_ = busService.start().value_or("");
            ready = true;
            while (!stop_) {
                sd_event_run(event, 50'000);
                endThreshold_ = battery.endThresholdValue();
                restarts_ = commands.restarts.load();
            }
            sd_bus_flush_close_unref(bus);
            sd_event_unref(event);
        });
        while (!ready) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_EQ(startError_, "");
        client_ = testing::connect(bus_.address());
        ASSERT_NE(client_, nullptr);
    }

    struct Answer {
        std::string error;  // D-Bus error name, empty on a reply
        bool ok = false;
        std::string message;
    };
    Answer call(const char* method, const char* argument = nullptr) {
        sd_bus_error error{};  // SD_BUS_ERROR_NULL is a C compound literal
        sd_bus_message* reply = nullptr;
        const int result = argument ? sd_bus_call_method(client_, busName, objectPath, interfaceName, method,
                                                         &error, &reply, "s", argument)
                                    : sd_bus_call_method(client_, busName, objectPath, interfaceName, method,
                                                         &error, &reply, "");
        Answer answer;
        if (result < 0) {
            answer.error = error.name ? error.name : "failed";
        } else {
            int ok = 0;
            const char* message = nullptr;
            sd_bus_message_read(reply, "bs", &ok, &message);
            answer.ok = ok != 0;
            answer.message = message ? message : "";
        }
        sd_bus_error_free(&error);
        sd_bus_message_unref(reply);
        return answer;
    }
    void allowInPolkit(const std::vector<const char*>& actions) {
        sd_bus_message* message = nullptr;
        sd_bus_message_new_method_call(client_, &message, "org.freedesktop.PolicyKit1",
                                       "/org/freedesktop/PolicyKit1/Authority", "org.freedesktop.DBus.Mock",
                                       "SetAllowed");
        sd_bus_message_open_container(message, 'a', "s");
        for (const char* action : actions) sd_bus_message_append(message, "s", action);
        sd_bus_message_close_container(message);
        ASSERT_GE(sd_bus_call(client_, message, 0, nullptr, nullptr), 0);
        sd_bus_message_unref(message);
    }

    fs::path root_;
    Paths paths_;
    PrivateBus bus_;
    sd_bus* client_ = nullptr;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::atomic<uid_t> callerUid_{::geteuid()};
    std::atomic<int> endThreshold_{-1};
    std::atomic<int> restarts_{0};
    std::string startError_;
};

TEST_F(BusTest, TheServicesOwnUserIsAllowedWithoutAskingPolkit) {
    // No polkit on this bus at all: asking it would fail.
    startService(false);
    const auto applied = call("ApplySettings", R"({"limit":70})");
    EXPECT_EQ(applied.error, "");
    EXPECT_TRUE(applied.ok);
    EXPECT_EQ(applied.message, "");
    EXPECT_EQ(std::get<std::string>(readWholeFile(paths_.config)),
              settingsMessage(loadSettings(R"({"limit":70})")));
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(endThreshold_.load(), 70);

    const auto refused = call("ApplySettings", R"({"limit":7})");
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.message, "The setting limit must be a whole number from 20 to 100.");

    EXPECT_TRUE(call("Restart").ok);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(restarts_.load(), 1);
}

TEST_F(BusTest, AnotherUserWithoutAPolkitYesIsRefusedAndNothingChanges) {
    startService(true);
    ASSERT_TRUE(call("ApplySettings", R"({"limit":70})").ok);
    const std::string config = std::get<std::string>(readWholeFile(paths_.config));

    callerUid_ = strangerUid;
    for (const char* method : {"ApplySettings", "PurgeAllData", "ReleaseCharge", "Restart"}) {
        const auto answer =
            std::string(method) == "ApplySettings" ? call(method, R"({"limit":90})") : call(method);
        EXPECT_EQ(answer.error, "org.freedesktop.DBus.Error.AccessDenied") << method;
    }
    EXPECT_EQ(std::get<std::string>(readWholeFile(paths_.config)), config);
    EXPECT_TRUE(fs::exists(paths_.status));
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    EXPECT_EQ(endThreshold_.load(), 70);
    EXPECT_EQ(restarts_.load(), 0);
}

TEST_F(BusTest, PolkitDecidesEachActionOnItsOwn) {
    startService(true);
    callerUid_ = strangerUid;
    allowInPolkit({"com.torvel.daemon.apply-settings"});
    // Authorised first, then validated: an allowed caller still gets the validation's answer.
    EXPECT_EQ(call("ApplySettings", R"({"hysteresis":0})").message,
              "The setting hysteresis must be a whole number from 1 to 40.");
    EXPECT_TRUE(call("ApplySettings", R"({"limit":60})").ok);
    EXPECT_EQ(call("PurgeAllData").error, "org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_TRUE(fs::exists(paths_.config));

    allowInPolkit({"com.torvel.daemon.purge-all-data"});
    EXPECT_TRUE(call("PurgeAllData").ok);
    EXPECT_FALSE(fs::exists(paths_.config));
    EXPECT_FALSE(fs::exists(paths_.status));
    EXPECT_FALSE(fs::exists(paths_.history));
}

// The (method, direction, name, type) rows of com.torvel.Daemon1 in an introspection document.
std::set<std::string> interfaceRows(const std::string& xml) {
    const auto begin = xml.find("<interface name=\"com.torvel.Daemon1\">");
    const auto end = xml.find("</interface>", begin);
    std::set<std::string> rows;
    if (begin == std::string::npos || end == std::string::npos) return rows;
    const std::string block = xml.substr(begin, end - begin);
    const std::regex method(R"re(<method name="(\w+)">([\s\S]*?)</method>)re");
    const std::regex arg(R"re(<arg\s+([^>]*)/>)re");
    const std::regex attribute(R"re((\w+)="([^"]*)")re");
    for (std::sregex_iterator m(block.begin(), block.end(), method), none; m != none; ++m) {
        const std::string body = (*m)[2];
        rows.insert((*m)[1].str());
        for (std::sregex_iterator a(body.begin(), body.end(), arg); a != none; ++a) {
            std::map<std::string, std::string> fields;
            const std::string attributes = (*a)[1];
            for (std::sregex_iterator f(attributes.begin(), attributes.end(), attribute); f != none; ++f) {
                fields[(*f)[1]] = (*f)[2];
            }
            rows.insert((*m)[1].str() + " " + fields["direction"] + " " + fields["name"] + " " +
                        fields["type"]);
        }
    }
    return rows;
}

TEST_F(BusTest, AnswersIntrospectionAsTheRepositoryDescribesIt) {
    startService(false);
    sd_bus_message* reply = nullptr;
    ASSERT_GE(sd_bus_call_method(client_, busName, objectPath, "org.freedesktop.DBus.Introspectable",
                                 "Introspect", nullptr, &reply, ""),
              0);
    const char* xml = nullptr;
    sd_bus_message_read(reply, "s", &xml);
    const auto served = interfaceRows(xml);
    sd_bus_message_unref(reply);

    std::ifstream file(std::string(TORVEL_SOURCE_DIR) + "/packaging/linux/com.torvel.Daemon1.xml");
    std::stringstream repository;
    repository << file.rdbuf();
    const auto described = interfaceRows(repository.str());
    EXPECT_EQ(described.size(), 4u + 9u);  // four methods, nine arguments
    EXPECT_EQ(served, described);
}

}  // namespace
}  // namespace torvel::daemon
