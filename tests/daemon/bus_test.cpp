#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include <atomic>
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
#include "harness.h"

namespace torvel::daemon {
namespace {
namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr uid_t strangerUid = 4242;
constexpr const char* accessDenied = "org.freedesktop.DBus.Error.AccessDenied";

struct ServiceCommands final : BusCommands {
    ChargeService& service;
    std::atomic<int> restarts{0};
    static constexpr Moment at{1e9, 1e5};
    explicit ServiceCommands(ChargeService& s) : service(s) {}
    bool needsAdministrator(const SettingsUpdate& update) const override {
        return service.needsAdministrator(update);
    }
    CallReply applySettings(const SettingsUpdate& update) override {
        return service.applySettings(update, at);
    }
    CallReply purgeAllData() override { return service.purgeAllData(at); }
    CallReply releaseCharge() override { return service.releaseCharge(at); }
    void restart() override { ++restarts; }
};

// The service's bus side on its own thread and connection, over a real ChargeService and a simulated battery
// in a temporary root; the test thread is the caller, under whichever uid `callerUid_` claims.
class BusTest : public ::testing::Test {
  protected:
    void TearDown() override {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        sd_bus_flush_close_unref(client_);
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
            ChargeService service(paths_, battery, {"9.9", "/test"}, ServiceCommands::at);
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
        while (!ready) std::this_thread::sleep_for(5ms);
        ASSERT_EQ(startError_, "");
        client_ = testing::connect(bus_.address());
        ASSERT_NE(client_, nullptr);
    }

    // The D-Bus error's name, or "ok"/"refused" and the service's message after a colon.
    std::string call(const char* method, const char* argument = nullptr) {
        sd_bus_error error{};
        sd_bus_message* reply = nullptr;
        int ok = 0;
        const char* message = "";
        std::string answer = "failed";
        if (sd_bus_call_method(client_, busName, objectPath, interfaceName, method, &error, &reply,
                               argument ? "s" : "", argument) >= 0 &&
            sd_bus_message_read(reply, "bs", &ok, &message) >= 0) {
            answer = std::string(ok ? "ok" : "refused") + (*message ? std::string(": ") + message : "");
        } else if (error.name) {
            answer = error.name;
        }
        sd_bus_error_free(&error);
        sd_bus_message_unref(reply);
        return answer;
    }
    // The mock authority says yes to this action alone from now on.
    void allowInPolkit(const char* action) {
        ASSERT_GE(
            sd_bus_call_method(client_, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                               "org.freedesktop.DBus.Mock", "SetAllowed", nullptr, nullptr, "as", 1, action),
            0);
    }
    std::string config() { return std::get<std::string>(readWholeFile(paths_.config)); }

    testing::TempDir root_;
    Paths paths_ = testing::pathsUnder(root_.path);
    testing::PrivateBus bus_;
    sd_bus* client_ = nullptr;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::atomic<uid_t> callerUid_{::geteuid()};
    std::atomic<int> endThreshold_{-1};
    std::atomic<int> restarts_{0};
    std::string startError_;
};

TEST_F(BusTest, TheServicesOwnUserIsAllowedWithoutAskingPolkit) {
    startService(false);  // no polkit on this bus: asking it would fail
    EXPECT_EQ(call("ApplySettings", R"({"limit":70})"), "ok");
    EXPECT_EQ(call("ApplySettings", R"({"limit":7})"),
              "refused: The setting limit must be a whole number from 20 to 100.");
    EXPECT_EQ(config(), settingsMessage(Settings{.limit = 70}));
    EXPECT_EQ(call("Restart"), "ok");
    std::this_thread::sleep_for(120ms);
    EXPECT_EQ(endThreshold_.load(), 70);
    EXPECT_EQ(restarts_.load(), 1);
}

TEST_F(BusTest, AnotherUserIsRefusedUnlessPolkitAllowsThatVeryAction) {
    startService(true);
    ASSERT_EQ(call("ApplySettings", R"({"limit":70})"), "ok");
    callerUid_ = strangerUid;
    for (const char* method : {"ApplySettings", "PurgeAllData", "ReleaseCharge", "Restart"}) {
        EXPECT_EQ(call(method, std::string_view(method) == "ApplySettings" ? R"({"limit":90})" : nullptr),
                  accessDenied);
    }
    EXPECT_EQ(config(), settingsMessage(Settings{.limit = 70}));
    EXPECT_TRUE(fs::exists(paths_.status));
    std::this_thread::sleep_for(120ms);
    EXPECT_EQ(endThreshold_.load(), 70);
    EXPECT_EQ(restarts_.load(), 0);

    allowInPolkit("com.torvel.daemon.apply-settings");
    // Authorised first, then validated: an allowed caller still gets the validation's answer.
    EXPECT_EQ(call("ApplySettings", R"({"hysteresis":0})"),
              "refused: The setting hysteresis must be a whole number from 1 to 40.");
    EXPECT_EQ(call("ApplySettings", R"({"limit":60})"), "ok");
    EXPECT_EQ(call("PurgeAllData"), accessDenied);
    allowInPolkit("com.torvel.daemon.purge-all-data");
    EXPECT_EQ(call("PurgeAllData"), "ok");
    for (const auto& file : {paths_.config, paths_.status, paths_.history}) EXPECT_FALSE(fs::exists(file));
}

TEST_F(BusTest, OversizedDeepOrRepeatedSettingsAreRefusedWithoutAskingAnyone) {
    startService(true);
    callerUid_ =
        strangerUid;  // polkit allows nothing: only a refusal before authorisation answers (false, …)
    const std::string huge = R"({"limit":60,"pad":")" + std::string(BusService::maxMessageBytes, 'x') + "\"}";
    EXPECT_EQ(call("ApplySettings", huge.c_str()), "refused: The settings are too large.");
    allowInPolkit("com.torvel.daemon.apply-settings");
    const std::string deep = R"({"limit":60,"x":)" + std::string(40, '[') + std::string(40, ']') + "}";
    EXPECT_EQ(call("ApplySettings", deep.c_str()), "refused: The settings repeat a key or nest too deeply.");
    EXPECT_EQ(call("ApplySettings", R"({"limit":60,"limit":90})"),
              "refused: The settings repeat a key or nest too deeply.");
    EXPECT_FALSE(fs::exists(paths_.config));
}

TEST_F(BusTest, SettingsThatUndoAProtectionNeedTheAdministrator) {
    startService(true);
    ASSERT_EQ(call("ApplySettings", R"({"limit":70,"historyDays":90})"), "ok");
    callerUid_ = strangerUid;
    allowInPolkit("com.torvel.daemon.apply-settings");
    // Which changes undo a protection is core's rule; here, that the service asks for the other action.
    EXPECT_EQ(call("ApplySettings", R"({"enabled":false})"), accessDenied);
    EXPECT_EQ(call("ApplySettings", R"({"history":false,"historyDays":120,"limit":75})"), "ok");
    EXPECT_EQ(config(), settingsMessage(Settings{.limit = 75, .history = false, .historyDays = 120}));
    allowInPolkit("com.torvel.daemon.apply-protected-settings");
    EXPECT_EQ(call("ApplySettings", R"({"enabled":false,"historyDays":30})"), "ok");
    EXPECT_EQ(config(),
              settingsMessage(Settings{.enabled = false, .limit = 75, .history = false, .historyDays = 30}));
}

// The flags argument of every CheckAuthorization the mock authority received.
std::vector<std::uint32_t> polkitFlags(sd_bus* client) {
    std::vector<std::uint32_t> flags;
    sd_bus_message* reply = nullptr;
    if (sd_bus_call_method(client, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                           "org.freedesktop.DBus.Mock", "GetMethodCalls", nullptr, &reply, "s",
                           "CheckAuthorization") < 0)
        return flags;
    sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "(tav)");
    while (sd_bus_message_enter_container(reply, SD_BUS_TYPE_STRUCT, "tav") > 0) {
        sd_bus_message_skip(reply, "t");
        sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "v");
        for (int i = 0; i < 3; ++i) sd_bus_message_skip(reply, "v");
        std::uint32_t value = 99;
        sd_bus_message_read(reply, "v", "u", &value);
        sd_bus_message_skip(reply, "v");
        flags.push_back(value);
        sd_bus_message_exit_container(reply);
        sd_bus_message_exit_container(reply);
    }
    sd_bus_message_unref(reply);
    return flags;
}

TEST_F(BusTest, ThePasswordPromptIsAskedForOnlyWhenTheCallerCanWait) {
    startService(true);
    callerUid_ = strangerUid;
    EXPECT_EQ(call("ReleaseCharge"), accessDenied);
    sd_bus_set_allow_interactive_authorization(client_, 1);
    EXPECT_EQ(call("ReleaseCharge"), accessDenied);
    EXPECT_EQ(polkitFlags(client_), (std::vector<std::uint32_t>{0, 1}));
}

TEST_F(BusTest, OneCallersBurstWaitingForPolkitIsCappedAndOthersStillGetThrough) {
    startService(true);
    callerUid_ = strangerUid;
    ASSERT_GE(
        sd_bus_call_method(client_, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                           "org.freedesktop.DBus.Mock", "SimulateHang", nullptr, nullptr, "b", 1),
        0);
    // Async calls from one connection; the answers are counted by their error names.
    std::map<std::string, int> answers;
    const auto send = [&](sd_bus* from, int count) {
        for (int i = 0; i < count; ++i) {
            sd_bus_call_method_async(
                from, nullptr, busName, objectPath, interfaceName, "ReleaseCharge",
                [](sd_bus_message* reply, void* userdata, sd_bus_error*) {
                    const sd_bus_error* error = sd_bus_message_get_error(reply);
                    ++(*static_cast<std::map<std::string, int>*>(userdata))[error ? error->name : "ok"];
                    return 0;
                },
                &answers, "");
        }
    };
    const auto pump = [&](sd_bus* bus, std::chrono::milliseconds time) {
        for (auto end = std::chrono::steady_clock::now() + time; std::chrono::steady_clock::now() < end;) {
            while (sd_bus_process(bus, nullptr) > 0) {
            }
            sd_bus_wait(bus, 20'000);
        }
    };
    send(client_, Authoriser::maxPendingPerCaller + 3);
    pump(client_, 500ms);
    EXPECT_EQ(answers["org.freedesktop.DBus.Error.LimitsExceeded"], 3);

    // Another connection of the same user is the same caller; another user is not.
    sd_bus* other = testing::connect(bus_.address());
    ASSERT_NE(other, nullptr);
    send(other, 1);
    pump(other, 300ms);
    EXPECT_EQ(answers["org.freedesktop.DBus.Error.LimitsExceeded"], 4);
    callerUid_ = strangerUid + 1;
    send(other, 1);
    pump(other, 300ms);
    EXPECT_EQ(answers.size(), 1u);  // the other user's question is waiting, not refused
    ASSERT_GE(
        sd_bus_call_method(client_, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                           "org.freedesktop.DBus.Mock", "ReleaseHangingCalls", nullptr, nullptr, ""),
        0);
    pump(other, 300ms);
    pump(client_, 300ms);
    EXPECT_EQ(answers[accessDenied], static_cast<int>(Authoriser::maxPendingPerCaller) + 1);
    sd_bus_flush_close_unref(other);
}

// The method names and "method direction name type" rows of our interface in an introspection document;
// attributes are read by name, since sd-bus orders them its own way.
std::set<std::string> interfaceRows(const std::string& xml) {
    const auto begin = xml.find(std::string("<interface name=\"") + interfaceName + "\">");
    const std::string block = xml.substr(begin, xml.find("</interface>", begin) - begin);
    const auto attribute = [](const std::string& tag, const char* name) {
        std::smatch found;
        return std::regex_search(tag, found, std::regex(std::string(name) + "=\"([^\"]*)\"")) ? found[1].str()
                                                                                              : "";
    };
    const std::regex tag(R"re(<method name="(\w+)"|<arg\s([^>]*)/>)re");
    std::set<std::string> rows;
    std::string method;
    for (std::sregex_iterator t(block.begin(), block.end(), tag), none; t != none; ++t) {
        const std::string arg = (*t)[2];
        if ((*t)[1].matched) method = (*t)[1];
        rows.insert((*t)[1].matched ? method
                                    : method + " " + attribute(arg, "direction") + " " +
                                          attribute(arg, "name") + " " + attribute(arg, "type"));
    }
    return rows;
}

TEST_F(BusTest, AnswersIntrospectionAsThePackagedFileDescribesIt) {
    startService(false);
    sd_bus_message* reply = nullptr;
    ASSERT_GE(sd_bus_call_method(client_, busName, objectPath, "org.freedesktop.DBus.Introspectable",
                                 "Introspect", nullptr, &reply, ""),
              0);
    const char* xml = nullptr;
    sd_bus_message_read(reply, "s", &xml);
    const auto served = interfaceRows(xml);
    sd_bus_message_unref(reply);

    std::stringstream packaged;
    packaged << std::ifstream(TORVEL_SOURCE_DIR "/packaging/linux/com.torvel.Daemon1.xml").rdbuf();
    const auto described = interfaceRows(packaged.str());
    EXPECT_EQ(described.size(), 4u + 9u);  // four methods, nine arguments
    EXPECT_EQ(served, described);
}

}  // namespace
}  // namespace torvel::daemon
