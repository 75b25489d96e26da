import QtQuick
import Torvel

// The hairline between two rows of a card.
Rectangle {
    property real inset: 18
    x: inset
    width: (parent ? parent.width : 0) - 2 * inset
    height: 1
    color: Ember.hair
}
