#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <variant>
#include <vector>

#include "extras/appcast.h"

namespace torvel::app {

// Reads an appcast (RSS whose items carry a version, a short version, a critical mark and a signed package
// enclosure) into plain items for core to decide on. Elements and attributes are matched by local name, so
// the prefix a publisher picks for the feed's own namespace does not matter.
struct AppcastReader {
    // The items, or one short text when the bytes are not an RSS feed. Enclosure addresses are resolved
    // against `feed`; an address that is not HTTPS is dropped, which leaves its item unusable.
    static std::variant<std::vector<Appcast::Item>, QString> read(const QByteArray& xml, const QUrl& feed);
};

}  // namespace torvel::app
