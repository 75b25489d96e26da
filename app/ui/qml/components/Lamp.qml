import QtQuick
import Torvel

// A small round light for one state: lit in the tone's colour, or unlit (a recessed dot with a hairline)
// when the tone is quiet.
Item {
    id: lamp
    property int tone: Looks.Quiet
    property real size: 9

    readonly property bool lit: tone !== Looks.Quiet
    readonly property color light: Ember.toneColor(tone)
    width: size
    height: size

    // The halo that makes a lit lamp read as a light rather than a dot.
    Rectangle {
        visible: lamp.lit
        anchors.centerIn: parent
        width: lamp.size * 1.9
        height: width
        radius: width / 2
        color: Qt.rgba(lamp.light.r, lamp.light.g, lamp.light.b, Ember.dark ? 0.2 : 0.16)
    }
    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: lamp.lit ? lamp.light : Ember.well
        border.width: lamp.lit ? 0 : 1
        border.color: Ember.hair
    }
}
