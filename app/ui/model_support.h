#pragma once

#include <QString>
#include <QVariantMap>
#include <utility>

#include "common/view_words.h"

namespace torvel::app {

// The one way a model announces a change: a property's NOTIFY signal fires when its value moved, never on a
// recompute that left it as it was, so bindings and derived models wake only for real changes.
template <typename Owner, typename Value, typename Signal>
bool assignAndNotify(Owner* owner, Value& field, Value value, Signal changed) {
    if (field == value) return false;
    field = std::move(value);
    (owner->*changed)();
    return true;
}

// A view's fixed words as QML reads them: `Page.words.title`.
inline QVariantMap wordsMap(const ViewWords& words) {
    QVariantMap map;
    for (const auto& [name, text] : words)
        map.insert(QString::fromStdString(name), QString::fromStdString(text));
    return map;
}

}  // namespace torvel::app
