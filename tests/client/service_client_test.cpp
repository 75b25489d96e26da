#include "service_client.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QFile>
#include <QRegularExpression>
#include <filesystem>
#include <map>
#include <memory>

#include "common/files.h"
#include "harness.h"
#include "reply_text.h"

namespace torvel::client {
namespace {

using namespace std::chrono_literals;
using testing::FakeService;
using testing::spinUntil;
using Answer = FakeService::Answer;
using Results = std::vector<ServiceClient::Result>;

enum class Operation { apply, purge, release, restart };
constexpr Operation operations[] = {Operation::apply, Operation::purge, Operation::release,
                                    Operation::restart};

class ServiceClientTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { bus = new testing::PrivateBus; }
    static void TearDownTestSuite() { delete bus; }
    void SetUp() override { ASSERT_FALSE(bus->address().isEmpty()) << "dbus-daemon did not start"; }

    // The old service leaves first: the bus gives the name to one owner at a time.
    void serve(Answer answer) {
        service.reset();
        service = std::make_unique<FakeService>(bus->connect("service"), answer);
    }

    // Starts one operation, recording every time it ends. An unwritable config location keeps apply's
    // fallback write out of it.
    void start(ServiceClient& client, Operation operation, ServiceClient::Timeout timeout = std::nullopt) {
        const auto record = [this](const ServiceClient::Result& result) { results.push_back(result); };
        const auto applied = [record](const ServiceClient::Applied& a) { record(a.error); };
        if (operation == Operation::apply)
            client.apply(settings, {}, "/nonexistent/config.json", applied, timeout);
        if (operation == Operation::purge) client.purgeAllData(record, timeout);
        if (operation == Operation::release) client.releaseCharge(record, timeout);
        if (operation == Operation::restart) client.restart(record, timeout);
    }
    bool ended() {
        return spinUntil([this] { return !results.empty(); }, 5s);
    }

    static inline testing::PrivateBus* bus = nullptr;
    std::unique_ptr<FakeService> service;
    Results results;
    Settings settings{.limit = 72, .thermal = true};
};

TEST_F(ServiceClientTest, CallsEachMethodAsThePackagedInterfaceDescribesIt) {
    QFile file(TORVEL_SOURCE_DIR "/packaging/linux/com.torvel.Daemon1.xml");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    // Method name to its in-signature; every method answers (b ok, s message).
    std::map<QString, QString> described;
    const QRegularExpression method(R"re(<method name="(\w+)">(.*?)</method>)re",
                                    QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression arg(R"re(<arg [^>]*type="(\w+)" direction="(in|out)")re");
    for (const auto& m : method.globalMatch(QString::fromUtf8(file.readAll()))) {
        QString in, out;
        for (const auto& a : arg.globalMatch(m.captured(2)))
            (a.captured(2) == "in" ? in : out) += a.captured(1);
        EXPECT_EQ(out, "bs") << m.captured(1).toStdString();
        described[m.captured(1)] = in;
    }

    serve({});
    ServiceClient client(bus->connect("client"));
    for (const auto operation : operations) start(client, operation);
    ASSERT_TRUE(spinUntil([&] { return results.size() == 4; }, 5s));
    const auto received = service->received();
    ASSERT_EQ(received.size(), 4u);
    QStringList members;
    for (const auto& call : received) {
        members << call.member();
        EXPECT_EQ(call.signature(), described.at(call.member())) << call.member().toStdString();
    }
    EXPECT_EQ(members, QStringList({"ApplySettings", "PurgeAllData", "ReleaseCharge", "Restart"}));
    EXPECT_EQ(described.size(), 4u) << "the introspection file has other methods";
    EXPECT_EQ(received[0].arguments(), QList<QVariant>{QString::fromStdString(settingsMessage(settings))});
}

TEST_F(ServiceClientTest, EachAnswerBecomesOneResult) {
    const struct {
        Operation operation;
        bool ok;
        const char* message;
        std::optional<std::string_view> expected;
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
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(int(c.operation)) + (c.ok ? " ok " : " failed ") + c.message);
        results.clear();
        serve({.ok = c.ok, .message = c.message});
        ServiceClient client(bus->connect("client"));
        start(client, c.operation);
        ASSERT_TRUE(ended());
        EXPECT_EQ(results, Results{ServiceClient::Result(c.expected)});
    }
}

TEST_F(ServiceClientTest, NobodyToTalkToIsUnreachable) {
    for (const auto& connection :
         {bus->connect("client"), QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "refused")}) {
        for (const auto operation : operations) {
            results.clear();
            ServiceClient client(connection);
            start(client, operation);
            ASSERT_TRUE(ended());
            EXPECT_EQ(results, Results{std::string(texts::unreachable)}) << connection.name().toStdString();
        }
    }
}

// Every call ends once, whichever comes first of the answer, a lost service and the caller's time-out;
// whatever comes later finds nobody waiting.
TEST_F(ServiceClientTest, ACallEndsExactlyOnce) {
    const Answer lateSuccess{.kind = Answer::late, .lateMilliseconds = 3500};
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
        ServiceClient client(bus->connect("client"));
        QElapsedTimer clock;
        clock.start();
        start(client, Operation::release, c.timeout);
        if (c.serviceDies) {
            ASSERT_TRUE(spinUntil([this] { return !service->received().empty(); }, 5s));
            EXPECT_TRUE(results.empty());
            service->leave();
        }
        ASSERT_TRUE(ended());
        EXPECT_GE(clock.elapsed(), c.fromMs);
        EXPECT_LT(clock.elapsed(), c.toMs);
        // Let a late answer, and whatever the bus says when it gives up on the call, arrive.
        spinUntil([] { return false; }, 1500ms);
        EXPECT_EQ(results, Results{std::string(c.expected)});
    }
}

TEST_F(ServiceClientTest, ACallOutlivedByItsClientNeverEnds) {
    serve({.kind = Answer::late, .lateMilliseconds = 200});
    {
        ServiceClient client(bus->connect("client"));
        start(client, Operation::restart, 100ms);
    }
    spinUntil([] { return false; }, 500ms);
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
        ServiceClient client(bus->connect("client"));
        client.apply(settings, {}, config, [&](const ServiceClient::Applied& a) { applied = a; });
        ASSERT_TRUE(spinUntil([&] { return applied.has_value(); }, 5s));
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
