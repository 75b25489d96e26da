#include "extras/appcast_reader.h"

#include <gtest/gtest.h>

namespace torvel::app {
namespace {

using Items = std::vector<Appcast::Item>;

const QUrl feed(QStringLiteral("https://torvel.example/updates/appcast.xml"));

QByteArray rss(const char* items) {
    return QByteArray(
               R"(<?xml version="1.0"?><rss version="2.0" xmlns:up="https://torvel.example/ns"><channel>)"
               "<title>Torvel</title>") +
           items + "</channel></rss>";
}

Appcast::Item item(std::string version, std::string shortVersion, std::string url, std::uint64_t length,
                   std::string signature) {
    Appcast::Item result;
    result.version = std::move(version);
    result.shortVersion = std::move(shortVersion);
    result.url = std::move(url);
    result.length = length;
    result.signature = std::move(signature);
    return result;
}

TEST(AppcastReader, ReadsItemsWhateverThePrefix) {
    auto critical = item("1042", "1.4", "https://torvel.example/updates/torvel_1.4_amd64.deb", 123, "c2ln");
    critical.critical = true;
    critical.criticalBelow = "1.2";
    struct Case {
        const char* what;
        QByteArray xml;
        Items items;
    };
    const Case cases[] = {
        {"versions as enclosure attributes",
         rss(R"(<item><enclosure url="https://cdn.example/t.deb" length=" 123 " up:version="1.4"
               up:shortVersionString="1.4 beta" up:edSignature="c2ln" type="application/vnd.debian.binary-package"/></item>)"),
         {item("1.4", "1.4 beta", "https://cdn.example/t.deb", 123, "c2ln")}},
        {"elements win over attributes, relative address, critical below a version",
         rss(R"(<item><up:version>1042</up:version><up:shortVersionString>1.4</up:shortVersionString>
               <up:criticalUpdate up:version="1.2"/><description><![CDATA[<p>x</p>]]></description>
               <enclosure url="torvel_1.4_amd64.deb" length="123" up:version="9" up:edSignature="c2ln"/></item>)"),
         {critical}},
        {"critical mark inside tags",
         rss(R"(<item><up:tags><up:criticalUpdate/></up:tags><up:version>1.5</up:version>
               <enclosure url="https://t.example/a.deb" length="5" up:edSignature="s"/></item>)"),
         {[] {
             auto i = item("1.5", "", "https://t.example/a.deb", 5, "s");
             i.critical = true;
             return i;
         }()}},
        {"plain http and a bad length leave the item unusable",
         rss(R"(<item><up:version>2</up:version><enclosure url="http://t.example/a.deb" length="-5" up:edSignature="s"/></item>)"),
         {[] {
             Appcast::Item i;
             i.version = "2";
             i.signature = "s";
             return i;
         }()}},
        {"no items", rss(""), {}},
    };
    for (const auto& c : cases) {
        const auto result = AppcastReader::read(c.xml, feed);
        ASSERT_TRUE(std::holds_alternative<Items>(result)) << c.what;
        EXPECT_EQ(std::get<Items>(result), c.items) << c.what;
    }
}

TEST(AppcastReader, AnythingButACompleteRssFeedIsUnreadable) {
    const QByteArray cases[] = {
        "",
        "<html><body>Not found</body></html>",
        "{\"version\": \"1.4\"}",
        rss("<item><up:version>1.4</up:version>").left(120),
        rss("<item><up:version>1.4</up:version></item>").replace("</channel>", ""),
    };
    for (const auto& xml : cases) {
        const auto result = AppcastReader::read(xml, feed);
        ASSERT_TRUE(std::holds_alternative<QString>(result)) << xml.toStdString();
        EXPECT_EQ(std::get<QString>(result), QStringLiteral("The update feed isn’t readable"));
    }
}

}  // namespace
}  // namespace torvel::app
