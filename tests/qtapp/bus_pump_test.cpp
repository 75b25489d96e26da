#include "service/bus_pump.h"

#include <gtest/gtest.h>

#include "client/harness.h"
#include "qt_support.h"
#include "reply_text.h"
#include "service_client.h"

namespace torvel::app {
namespace {

using namespace std::chrono_literals;
using client::testing::FakeService;
using Answer = FakeService::Answer;
using Result = client::ServiceCalls::Result;

// The app's event loop alone carries each call to its end: the bus is never pumped by hand here.
TEST(BusPump, CarriesEachCallToItsEndOnQtsLoop) {
    testing::qtApp();
    client::testing::PrivateBus privateBus;
    ASSERT_FALSE(privateBus.address().empty()) << "dbus-daemon did not start";
    const struct {
        const char* name;
        std::optional<Answer> service;  // absent: nobody owns the name
        std::string address;
        Result expected;
    } cases[] = {
        {"answered late", Answer{.kind = Answer::late, .lateBy = 300ms}, privateBus.address(), std::nullopt},
        {"refused", Answer{.ok = false, .message = "Busy."}, privateBus.address(), "Busy."},
        {"nobody there", std::nullopt, privateBus.address(), std::string(client::texts::unreachable)},
        {"no bus at all", std::nullopt, "unix:path=/nonexistent/bus",
         std::string(client::texts::unreachable)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::unique_ptr<FakeService> service;
        if (c.service) {
            service = std::make_unique<FakeService>(privateBus.address(), *c.service);
            service->serveInBackground();
        }
        const auto bus = client::Bus::at(c.address);
        BusPump pump(*bus);
        client::ServiceClient calls(*bus, "/nonexistent/config.json");
        std::vector<Result> results;
        calls.restart([&](const Result& result) { results.push_back(result); });
        ASSERT_TRUE(testing::spinUntil([&] { return !results.empty(); }));
        EXPECT_EQ(results, std::vector<Result>{c.expected});
    }
}

// A call with a time-out ends by it even when nothing ever arrives on the connection.
TEST(BusPump, EndsASilentCallByItsTimeOut) {
    testing::qtApp();
    client::testing::PrivateBus privateBus;
    FakeService service(privateBus.address(), {.kind = Answer::silent});
    service.serveInBackground();
    const auto bus = client::Bus::at(privateBus.address());
    BusPump pump(*bus);
    client::ServiceClient calls(*bus, "/nonexistent/config.json");
    std::optional<Result> result;
    calls.releaseCharge([&](const Result& r) { result = r; }, 400ms);
    ASSERT_TRUE(testing::spinUntil([&] { return result.has_value(); }));
    EXPECT_EQ(*result, std::string(client::texts::stoppedResponding));
}

}  // namespace
}  // namespace torvel::app
