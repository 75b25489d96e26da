#include <gtest/gtest.h>

#include <QFile>
#include <QXmlStreamReader>
#include <map>

#include "fake_service.h"
#include "private_bus.h"
#include "service_client.h"

namespace torvel::client {
namespace {

using namespace std::chrono_literals;

struct Method {
    QString in;   // the argument signature the service takes
    QString out;  // and answers
};

// The interface as the service's introspection file describes it: method name to signatures.
std::map<QString, Method> describedMethods(const QString& file) {
    QFile xml(file);
    if (!xml.open(QIODevice::ReadOnly)) return {};
    std::map<QString, Method> methods;
    QXmlStreamReader reader(&xml);
    bool inInterface = false;
    QString method;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            const auto attributes = reader.attributes();
            if (reader.name() == u"interface")
                inInterface = attributes.value("name") == QLatin1String(interfaceName);
            if (inInterface && reader.name() == u"method") method = attributes.value("name").toString();
            if (inInterface && reader.name() == u"arg" && !method.isEmpty()) {
                Method& m = methods[method];
                (attributes.value("direction") == u"out" ? m.out : m.in) += attributes.value("type");
            }
        } else if (reader.isEndElement() && reader.name() == u"method") {
            methods.try_emplace(method);
            method.clear();
        } else if (reader.isEndElement() && reader.name() == u"interface") {
            inInterface = false;
        }
    }
    return methods;
}

// What the client really puts on the bus, caught by a stand-in service.
TEST(Interface, TheClientCallsWhatTheServiceDescribes) {
    const auto described = describedMethods(TORVEL_SOURCE_DIR "/packaging/linux/com.torvel.Daemon1.xml");
    ASSERT_EQ(described.size(), 4u) << "the introspection file is missing or has other methods";
    for (const auto& [name, method] : described) EXPECT_EQ(method.out, "bs") << name.toStdString();

    testing::PrivateBus bus;
    ASSERT_FALSE(bus.address().isEmpty());
    testing::FakeService service(bus.connect("service"), testing::FakeService::Answer::replying(true));
    ServiceClient client(bus.connect("client"));
    int ended = 0;
    const auto count = [&](const ServiceClient::Result&) { ++ended; };
    client.apply({}, {}, "/nonexistent/config.json", [&](const ServiceClient::Applied&) { ++ended; });
    client.purgeAllData(count);
    client.releaseCharge(count);
    client.restart(count);
    ASSERT_TRUE(testing::spinUntil([&] { return ended == 4; }, 5s));

    const auto received = service.received();
    ASSERT_EQ(received.size(), described.size());
    for (const auto& call : received) {
        const auto found = described.find(call.method);
        ASSERT_NE(found, described.end()) << call.method.toStdString() << " is not in the interface";
        QString signature;
        for (const QVariant& argument : call.arguments) {
            signature += argument.metaType().id() == QMetaType::QString ? "s" : "?";
        }
        EXPECT_EQ(signature, found->second.in) << call.method.toStdString();
    }
}

}  // namespace
}  // namespace torvel::client
