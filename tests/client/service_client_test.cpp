#include "service_client.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <filesystem>
#include <memory>

#include "common/files.h"
#include "fake_service.h"
#include "private_bus.h"
#include "reply_text.h"

namespace torvel::client {
namespace {

using namespace std::chrono_literals;
using testing::FakeService;
using testing::PrivateBus;
using testing::spinFor;
using testing::spinUntil;
using Answer = FakeService::Answer;

enum class Operation { apply, purge, release, restart };

class ServiceClientTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { bus = new PrivateBus; }
    static void TearDownTestSuite() {
        delete bus;
        bus = nullptr;
    }
    void SetUp() override { ASSERT_FALSE(bus->address().isEmpty()) << "dbus-daemon did not start"; }

    // The old service leaves first: the bus gives the name to one owner at a time.
    void serve(Answer answer) {
        service.reset();
        service = std::make_unique<FakeService>(bus->connect("service"), answer);
    }

    // Starts one operation, recording every time it ends.
    void start(ServiceClient& client, Operation operation, ServiceClient::Timeout timeout = std::nullopt) {
        const auto record = [this](const ServiceClient::Result& result) { results.push_back(result); };
        switch (operation) {
            case Operation::apply:
                // An unwritable config location keeps the fallback write out of these cases.
                client.apply(
                    settings, {}, "/nonexistent/config.json",
                    [record](const ServiceClient::Applied& applied) { record(applied.error); }, timeout);
                break;
            case Operation::purge:
                client.purgeAllData(record, timeout);
                break;
            case Operation::release:
                client.releaseCharge(record, timeout);
                break;
            case Operation::restart:
                client.restart(record, timeout);
                break;
        }
    }

    bool ended() {
        return spinUntil([this] { return !results.empty(); }, 5s);
    }

    static PrivateBus* bus;
    std::unique_ptr<FakeService> service;
    std::vector<ServiceClient::Result> results;
    Settings settings{.limit = 72, .thermal = true};
};

PrivateBus* ServiceClientTest::bus = nullptr;

struct AnswerCase {
    const char* name;
    Operation operation;
    const char* method;
    bool ok;
    const char* message;
    std::optional<std::string_view> expected;
};

TEST_F(ServiceClientTest, EachAnswerBecomesOneResult) {
    const AnswerCase cases[] = {
        {"apply accepted", Operation::apply, "ApplySettings", true, "", std::nullopt},
        {"apply refused", Operation::apply, "ApplySettings", false, "", texts::refusedChange},
        {"apply refused with reason", Operation::apply, "ApplySettings", false,
         "The setting limit must be a whole number from 20 to 100.",
         "The setting limit must be a whole number from 20 to 100."},
        {"purge done", Operation::purge, "PurgeAllData", true, "", std::nullopt},
        {"purge failed", Operation::purge, "PurgeAllData", false, "", texts::couldNotRemoveData},
        {"release failed", Operation::release, "ReleaseCharge", false, "", texts::unreachable},
        {"release failed with reason", Operation::release, "ReleaseCharge", false, "Not allowed.",
         "Not allowed."},
        {"restart done", Operation::restart, "Restart", true, "", std::nullopt},
        {"restart failed", Operation::restart, "Restart", false, "", texts::didNotRestart},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        results.clear();
        serve(Answer::replying(c.ok, c.message));
        ServiceClient client(bus->connect("client"));
        start(client, c.operation);
        ASSERT_TRUE(ended());
        ASSERT_EQ(results.size(), 1u);
        EXPECT_EQ(results[0], c.expected);
        const auto received = service->received();
        ASSERT_EQ(received.size(), 1u);
        EXPECT_EQ(received[0].method.toStdString(), c.method);
        if (c.operation == Operation::apply) {
            ASSERT_EQ(received[0].arguments.size(), 1);
            EXPECT_EQ(received[0].arguments[0].toString().toStdString(), settingsMessage(settings));
        }
    }
}

TEST_F(ServiceClientTest, NobodyToTalkToIsUnreachable) {
    struct Case {
        const char* name;
        QDBusConnection connection;
    };
    const Case cases[] = {
        {"no owner of the name", bus->connect("client")},
        {"no bus at all", QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "refused")},
    };
    for (const auto& c : cases) {
        for (const auto operation :
             {Operation::apply, Operation::purge, Operation::release, Operation::restart}) {
            SCOPED_TRACE(c.name);
            results.clear();
            ServiceClient client(c.connection);
            start(client, operation);
            ASSERT_TRUE(ended());
            EXPECT_EQ(results, std::vector<ServiceClient::Result>{std::string(texts::unreachable)});
        }
    }
}

TEST_F(ServiceClientTest, AServiceThatDiesMidCallStoppedResponding) {
    serve(Answer::silence());
    ServiceClient client(bus->connect("client"));
    start(client, Operation::apply);
    ASSERT_TRUE(spinUntil([this] { return !service->received().empty(); }, 5s));
    EXPECT_TRUE(results.empty());
    service->leave();
    ASSERT_TRUE(ended());
    EXPECT_EQ(results, std::vector<ServiceClient::Result>{std::string(texts::stoppedResponding)});
}

TEST_F(ServiceClientTest, ReleaseGivesUpAfterItsTimeOutAndALateReplyChangesNothing) {
    serve(Answer::late(true, 3500));
    ServiceClient client(bus->connect("client"));
    QElapsedTimer clock;
    clock.start();
    start(client, Operation::release, ServiceClient::removalTimeout);
    ASSERT_TRUE(ended());
    EXPECT_GE(clock.elapsed(), 2900);
    EXPECT_LT(clock.elapsed(), 3400);
    EXPECT_EQ(results, std::vector<ServiceClient::Result>{std::string(texts::stoppedResponding)});

    // The success the service sends at 3.5 s, and whatever the bus says when it gives up on the call.
    spinFor(1500ms);
    EXPECT_EQ(results, std::vector<ServiceClient::Result>{std::string(texts::stoppedResponding)});
}

TEST_F(ServiceClientTest, AReplyInTimeLeavesTheTimeOutSilent) {
    serve(Answer::replying(false, "Busy."));
    ServiceClient client(bus->connect("client"));
    start(client, Operation::release, 300ms);
    ASSERT_TRUE(ended());
    spinFor(600ms);
    EXPECT_EQ(results, std::vector<ServiceClient::Result>{std::string("Busy.")});
}

TEST_F(ServiceClientTest, ACallOutlivedByItsClientNeverEnds) {
    serve(Answer::late(true, 200));
    {
        ServiceClient client(bus->connect("client"));
        start(client, Operation::restart, 100ms);
    }
    spinFor(500ms);
    EXPECT_TRUE(results.empty());
}

class ApplyFallbackTest : public ServiceClientTest {
  protected:
    void SetUp() override {
        ServiceClientTest::SetUp();
        directory = std::filesystem::temp_directory_path() /
                    ("torvel-client-" + std::to_string(::getpid()) + "-" +
                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(directory);
        std::filesystem::create_directories(directory);
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::filesystem::path directory;
};

TEST_F(ApplyFallbackTest, AFailedCallWritesConfigDirectlyWhenItCan) {
    struct Case {
        const char* name;
        std::optional<bool> service;  // absent: nobody owns the name; else what it answers
        bool writable;
        std::optional<std::string_view> error;
        std::optional<std::string_view> serviceError;
    };
    const Case cases[] = {
        {"accepted: the service writes it", true, true, std::nullopt, std::nullopt},
        {"no service, writable", std::nullopt, true, std::nullopt, texts::unreachable},
        {"no service, unwritable", std::nullopt, false, texts::unreachable, std::nullopt},
        {"refused, writable", false, true, std::nullopt, texts::refusedChange},
        {"refused, unwritable", false, false, texts::refusedChange, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        service.reset();
        if (c.service) serve(Answer::replying(*c.service));
        // A directory that does not exist stands for one the user may not write, even when tests run as root.
        const auto config = (c.writable ? directory : directory / "missing") / "config.json";
        std::filesystem::remove(config);

        std::optional<ServiceClient::Applied> applied;
        ServiceClient client(bus->connect("client"));
        client.apply(settings, {}, config, [&](const ServiceClient::Applied& a) { applied = a; });
        ASSERT_TRUE(spinUntil([&] { return applied.has_value(); }, 5s));
        EXPECT_EQ(applied->error, c.error);
        EXPECT_EQ(applied->serviceError, c.serviceError);

        const auto written = readWholeFile(config);
        if (c.serviceError) {
            ASSERT_TRUE(std::holds_alternative<std::string>(written));
            EXPECT_EQ(std::get<std::string>(written), settingsMessage(settings));
        } else {
            EXPECT_FALSE(std::holds_alternative<std::string>(written));
        }
    }
}

}  // namespace
}  // namespace torvel::client
