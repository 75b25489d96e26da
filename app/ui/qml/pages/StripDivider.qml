import QtQuick
import Torvel

// The upright hairline between two cells of a strip.
Rectangle {
    width: 1
    color: Ember.hair
}
