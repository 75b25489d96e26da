#include "service_client.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>

#include "common/files.h"
#include "harness.h"
#include "reply_text.h"

namespace torvel::client {
namespace {

using namespace std::chrono_literals;
using testing::FakeService;
using Answer = FakeService::Answer;
using Results = std::vector<ServiceClient::Result>;

enum class Operation { apply, purge, release, restart };
constexpr Operation operations[] = {Operation::apply, Operation::purge, Operation::release,
                                    Operation::restart};

class ServiceClientTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { privateBus = new testing::PrivateBus; }
    static void TearDownTestSuite() { delete privateBus; }
    void SetUp() override {
        ASSERT_FALSE(privateBus->address().empty()) << "dbus-daemon did not start";
        connect();
    }

    // A fresh connection, and a fresh client on it, for each case.
    void connect(const std::string& address = privateBus->address()) {
        client.reset();
        bus = Bus::at(address);
        client = std::make_unique<ServiceClient>(*bus, "/nonexistent/config.json");
    }

    // The old service leaves first: the bus gives the name to one owner at a time.
    void serve(Answer answer) {
        service.reset();
        service = std::make_unique<FakeService>(privateBus->address(), answer);
    }

    bool spinUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 5s) {
        return testing::spinUntil({bus.get()}, service.get(), done, limit);
    }
    void spinFor(std::chrono::milliseconds time) {
        spinUntil([] { return false; }, time);
    }

    // Starts one operation, recording every time it ends. An unwritable config location keeps apply's
    // fallback write out of it.
    void start(Operation operation, ServiceClient::Timeout timeout = std::nullopt) {
        const auto record = [this](const ServiceClient::Result& result) { results.push_back(result); };
        const auto applied = [record](const ServiceClient::Applied& a) { record(a.error); };
        if (operation == Operation::apply) client->apply(settings, {}, applied, timeout);
        if (operation == Operation::purge) client->purgeAllData(record, timeout);
        if (operation == Operation::release) client->releaseCharge(record, timeout);
        if (operation == Operation::restart) client->restart(record, timeout);
    }
    bool ended() {
        return spinUntil([this] { return !results.empty(); });
    }

    static inline testing::PrivateBus* privateBus = nullptr;
    std::unique_ptr<Bus> bus;
    std::unique_ptr<ServiceClient> client;
    std::unique_ptr<FakeService> service;
    Results results;
    Settings settings{.limit = 72, .thermal = true};
};

TEST_F(ServiceClientTest, CallsEachMethodAsThePackagedInterfaceDescribesIt) {
    std::stringstream file;
    file << std::ifstream(TORVEL_SOURCE_DIR "/packaging/linux/com.torvel.Daemon1.xml").rdbuf();
    const std::string xml = file.str();
    ASSERT_FALSE(xml.empty());
    // Method name to its in-signature; every method answers (b ok, s message).
    std::map<std::string, std::string> described;
    const std::regex method(R"re(<method name="(\w+)">([\s\S]*?)</method>)re");
    const std::regex arg(R"re(<arg [^>]*type="(\w+)" direction="(in|out)")re");
    for (std::sregex_iterator m(xml.begin(), xml.end(), method), none; m != none; ++m) {
        const std::string body = (*m)[2];
        std::string in, out;
        for (std::sregex_iterator a(body.begin(), body.end(), arg); a != none; ++a) {
            ((*a)[2] == "in" ? in : out) += (*a)[1];
        }
        EXPECT_EQ(out, "bs") << (*m)[1];
        described[(*m)[1]] = in;
    }

    serve({});
    for (const auto operation : operations) start(operation);
    ASSERT_TRUE(spinUntil([&] { return results.size() == 4; }));
    const auto& received = service->received();
    ASSERT_EQ(received.size(), 4u);
    std::vector<std::string> members;
    for (const auto& call : received) {
        members.push_back(call.member);
        ASSERT_TRUE(described.contains(call.member)) << call.member;
        EXPECT_EQ(call.signature, described.at(call.member)) << call.member;
    }
    EXPECT_EQ(members,
              (std::vector<std::string>{"ApplySettings", "PurgeAllData", "ReleaseCharge", "Restart"}));
    EXPECT_EQ(described.size(), 4u) << "the introspection file has other methods";
    EXPECT_EQ(received[0].argument, settingsMessage(settings));
}

TEST_F(ServiceClientTest, EachAnswerBecomesOneResult) {
    const struct {
        Operation operation;
        bool ok;
        const char* message;
        std::optional<std::string_view> expected;
        const char* signature = "bs";
    } cases[] = {
        {Operation::apply, true, "", std::nullopt},
        {Operation::apply, false, "", texts::refusedChange},
        {Operation::apply, false, "The setting limit must be a whole number from 20 to 100.",
         "The setting limit must be a whole number from 20 to 100."},
        {Operation::purge, true, "", std::nullopt},
        {Operation::purge, false, "", texts::couldNotRemoveData},
        {Operation::release, false, "", texts::unreachable},
        {Operation::restart, true, "", std::nullopt},
        {Operation::restart, false, "", texts::didNotRestart},
        {Operation::restart, true, "fine", std::nullopt},
        {Operation::restart, false, " \n", texts::didNotRestart},
        {Operation::restart, false, "isn’t", "isn’t"},
        // Any other shape of answer is not our service speaking.
        {Operation::restart, false, "", texts::unreachable, "b"},
        {Operation::restart, true, "x", texts::unreachable, "sb"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(int(c.operation)) + (c.ok ? " ok " : " failed ") + c.message + " " +
                     c.signature);
        results.clear();
        serve({.ok = c.ok, .message = c.message, .signature = c.signature});
        start(c.operation);
        ASSERT_TRUE(ended());
        EXPECT_EQ(results, Results{ServiceClient::Result(c.expected)});
    }
}

// The service's words on the settings reach the page whether it took them or not; a bus error is no word of
// its.
TEST_F(ServiceClientTest, ApplyCarriesTheServicesOwnWords) {
    const struct {
        Answer answer;
        std::optional<std::string> note;
    } cases[] = {
        {{.ok = true, .message = " Held at 80% instead. "}, "Held at 80% instead."},
        {{.ok = false, .message = "Not held: EIO."}, "Not held: EIO."},
        {{.ok = true, .message = ""}, std::nullopt},
        {{.ok = true, .message = "x", .signature = "sb"}, std::nullopt},
        {{.message = "Denied", .errorName = "org.freedesktop.DBus.Error.AccessDenied"}, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer.message);
        serve(c.answer);
        std::optional<ServiceClient::Applied> applied;
        client->apply(settings, {}, [&](const ServiceClient::Applied& a) { applied = a; });
        ASSERT_TRUE(spinUntil([&] { return applied.has_value(); }));
        EXPECT_EQ(applied->note, c.note);
    }
}

TEST_F(ServiceClientTest, NobodyToTalkToIsUnreachable) {
    for (const auto& address : {privateBus->address(), std::string("unix:path=/nonexistent/bus")}) {
        for (const auto operation : operations) {
            results.clear();
            connect(address);
            start(operation);
            EXPECT_TRUE(results.empty()) << "never before the call returns";
            ASSERT_TRUE(ended());
            EXPECT_EQ(results, Results{std::string(texts::unreachable)}) << address;
        }
    }
}

// Every call ends once, whichever comes first of the answer, a lost service and the caller's time-out;
// whatever comes later finds nobody waiting.
TEST_F(ServiceClientTest, ACallEndsExactlyOnce) {
    const Answer lateSuccess{.kind = Answer::late, .lateBy = 3500ms};
    const auto stopped = texts::stoppedResponding;
    const struct {
        const char* name;
        Answer answer;
        ServiceClient::Timeout timeout;
        bool serviceDies;
        std::string_view expected;
        int fromMs = 0, toMs = 1000;
    } cases[] = {
        {"answer in time", {.ok = false, .message = "Busy."}, 300ms, false, "Busy."},
        {"service dies mid-call", {.kind = Answer::silent}, std::nullopt, true, stopped},
        {"release while the service is removed", lateSuccess, ServiceClient::removalTimeout, false, stopped,
         2900, 3400},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        results.clear();
        serve(c.answer);
        connect();
        const auto began = testing::Clock::now();
        start(Operation::release, c.timeout);
        if (c.serviceDies) {
            ASSERT_TRUE(spinUntil([this] { return !service->received().empty(); }));
            EXPECT_TRUE(results.empty());
            service->leave();
        }
        ASSERT_TRUE(ended());
        const auto elapsed =
            std::chrono::duration_cast<std::chrono::milliseconds>(testing::Clock::now() - began);
        EXPECT_GE(elapsed.count(), c.fromMs);
        EXPECT_LT(elapsed.count(), c.toMs);
        // Let a late answer, and whatever the bus says when it gives up on the call, arrive.
        spinFor(1500ms);
        EXPECT_EQ(results, Results{std::string(c.expected)});
    }
}

TEST_F(ServiceClientTest, ACallOutlivedByItsClientNeverEnds) {
    serve({.kind = Answer::late, .lateBy = 200ms});
    start(Operation::restart, 100ms);
    client.reset();
    spinFor(500ms);
    EXPECT_TRUE(results.empty());
}

TEST_F(ServiceClientTest, AFailedApplyWritesConfigDirectlyWhenItCan) {
    const auto directory =
        std::filesystem::temp_directory_path() / ("torvel-client-" + std::to_string(::getpid()));
    const struct {
        const char* name;
        std::optional<bool> service;  // absent: nobody owns the name; else what it answers
        bool writable;
        std::optional<std::string_view> error, serviceError;
    } cases[] = {
        {"accepted: the service writes it", true, true, std::nullopt, std::nullopt},
        {"no service, writable", std::nullopt, true, std::nullopt, texts::unreachable},
        {"refused, writable", false, true, std::nullopt, texts::refusedChange},
        {"refused, unwritable", false, false, texts::refusedChange, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        service.reset();
        if (c.service) serve({.ok = *c.service});
        // A directory that does not exist stands for one the user may not write, even when tests run as root.
        std::filesystem::remove_all(directory);
        std::filesystem::create_directories(directory);
        const auto config = (c.writable ? directory : directory / "missing") / "config.json";

        std::optional<ServiceClient::Applied> applied;
        ServiceClient writer(*bus, config);
        writer.apply(settings, {}, [&](const ServiceClient::Applied& a) { applied = a; });
        ASSERT_TRUE(spinUntil([&] { return applied.has_value(); }));
        EXPECT_EQ(applied->error, c.error);
        EXPECT_EQ(applied->serviceError, c.serviceError);
        const auto written = readWholeFile(config);
        EXPECT_EQ(std::holds_alternative<std::string>(written), c.serviceError.has_value());
        if (c.serviceError) {
            EXPECT_EQ(std::get<std::string>(written), settingsMessage(settings));
        }
    }
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace torvel::client
