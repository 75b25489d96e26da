#include "extras/appcast_reader.h"

#include <QXmlStreamReader>

#include "extras/package_updates.h"

namespace torvel::app {

namespace {

QString unreadable() {
    return QString::fromStdString(UpdateActionWords::feedFailure(FeedFailure::unreadable));
}

std::optional<std::uint64_t> parseLength(QStringView text) {
    bool ok = false;
    const qulonglong value = text.trimmed().toULongLong(&ok);
    if (!ok) return std::nullopt;
    return value;
}

std::string packageUrl(QStringView text, const QUrl& feed) {
    const QUrl url = feed.resolved(QUrl(text.trimmed().toString()));
    if (!url.isValid() || url.scheme() != QLatin1String("https") || url.host().isEmpty()) return {};
    return url.toString(QUrl::FullyEncoded).toStdString();
}

QString attribute(const QXmlStreamAttributes& attributes, QLatin1String localName) {
    for (const auto& each : attributes) {
        if (each.name() == localName) return each.value().toString();
    }
    return {};
}

void readEnclosure(const QXmlStreamAttributes& attributes, const QUrl& feed, Appcast::Item& item) {
    for (const auto& attribute : attributes) {
        const auto name = attribute.name();
        const auto value = attribute.value();
        if (name == QLatin1String("url")) item.url = packageUrl(value, feed);
        if (name == QLatin1String("length")) item.length = parseLength(value);
        if (name == QLatin1String("edSignature")) item.signature = value.trimmed().toString().toStdString();
        // An item's own version elements win over the enclosure's attributes.
        if (name == QLatin1String("version") && item.version.empty())
            item.version = value.toString().toStdString();
        if (name == QLatin1String("shortVersionString") && item.shortVersion.empty())
            item.shortVersion = value.toString().toStdString();
    }
}

Appcast::Item readItem(QXmlStreamReader& xml, const QUrl& feed) {
    Appcast::Item item;
    while (xml.readNextStartElement()) {
        const auto name = xml.name();
        if (name == QLatin1String("version")) {
            item.version = xml.readElementText().trimmed().toStdString();
        } else if (name == QLatin1String("shortVersionString")) {
            item.shortVersion = xml.readElementText().trimmed().toStdString();
        } else if (name == QLatin1String("criticalUpdate")) {
            item.critical = true;
            item.criticalBelow =
                attribute(xml.attributes(), QLatin1String("version")).trimmed().toStdString();
            xml.skipCurrentElement();
        } else if (name == QLatin1String("enclosure")) {
            readEnclosure(xml.attributes(), feed, item);
            xml.skipCurrentElement();
        } else if (name == QLatin1String("tags")) {
            // Older feeds wrap the critical mark in a tags element; read inside it as if it were the item.
            const auto inner = readItem(xml, feed);
            if (inner.critical) {
                item.critical = true;
                item.criticalBelow = inner.criticalBelow;
            }
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

}  // namespace

std::variant<std::vector<Appcast::Item>, QString> AppcastReader::read(const QByteArray& bytes,
                                                                      const QUrl& feed) {
    QXmlStreamReader xml(bytes);
    std::vector<Appcast::Item> items;
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("rss")) return unreadable();
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("channel")) {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() == QLatin1String("item"))
                items.push_back(readItem(xml, feed));
            else
                xml.skipCurrentElement();
        }
    }
    // A feed cut off half-way may have lost its newest item: none of it is trusted.
    if (xml.hasError()) return unreadable();
    return items;
}

}  // namespace torvel::app
