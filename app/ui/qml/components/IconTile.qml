import QtQuick
import Torvel

// A symbol on a small ember-tinted tile: the mark of a card's subject.
Rectangle {
    property string glyph
    property bool filled: false
    width: 30
    height: 30
    radius: 9
    color: Ember.toneFill(Looks.Accent)
    Glyph {
        anchors.centerIn: parent
        size: 16
        lineWidth: 2.2
        filled: parent.filled
        color: Ember.emberText
        path: parent.glyph
    }
}
