#include "extras/appcast_reader.h"

#include <gtest/gtest.h>

namespace torvel::app {
namespace {

using Items = std::vector<Appcast::Item>;

const QUrl feed(QStringLiteral("https://torvel.example/updates/appcast.xml"));

QByteArray rss(const char* items) {
    return QByteArray(
               R"(<?xml version="1.0"?><rss version="2.0" xmlns:up="https://torvel.example/ns"><channel>)") +
           items + "</channel></rss>";
}

TEST(AppcastReader, ReadsItemsWhateverThePrefixAndOnlyHttpsPackages) {
    const auto result = AppcastReader::read(
        rss(R"(<item><enclosure url="https://cdn.example/t.deb" length=" 123 " up:version="1.4"
                 up:shortVersionString="1.4 beta" up:edSignature="c2ln"/></item>
               <item><up:version>1042</up:version><up:criticalUpdate up:version="1.2"/>
                 <enclosure url="torvel.deb" length="9" up:version="9" up:edSignature="s"/></item>
               <item><up:version>2</up:version><enclosure url="http://t.example/a.deb" length="-5"/></item>)"),
        feed);
    ASSERT_TRUE(std::holds_alternative<Items>(result));
    const auto& items = std::get<Items>(result);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].version, "1.4");
    EXPECT_EQ(items[0].shortVersion, "1.4 beta");
    EXPECT_EQ(items[0].length, 123u);
    EXPECT_EQ(items[0].signature, "c2ln");
    EXPECT_FALSE(items[0].critical);
    // The item's own version wins over the enclosure's; a relative address is the feed's neighbour.
    EXPECT_EQ(items[1].version, "1042");
    EXPECT_EQ(items[1].url, "https://torvel.example/updates/torvel.deb");
    EXPECT_TRUE(items[1].critical);
    EXPECT_EQ(items[1].criticalBelow, "1.2");
    // Plain HTTP and a negative length leave nothing to download.
    EXPECT_EQ(items[2].url, "");
    EXPECT_EQ(items[2].length, std::nullopt);
}

TEST(AppcastReader, AnythingButACompleteRssFeedIsUnreadable) {
    const QByteArray cases[] = {"", "<html><body>Not found</body></html>",
                                rss("<item><up:version>1.4</up:version>").left(100)};
    for (const auto& xml : cases) {
        const auto result = AppcastReader::read(xml, feed);
        ASSERT_TRUE(std::holds_alternative<QString>(result)) << xml.toStdString();
        EXPECT_EQ(std::get<QString>(result), QStringLiteral("The update feed isn’t readable"));
    }
}

}  // namespace
}  // namespace torvel::app
