import QtQuick
import Torvel

// Where the user is in the first run: one stop per screen, the ones behind ticked, the current one in ember.
Row {
    id: rail
    property var stops: []
    property int current: -1
    spacing: 6
    Accessible.role: Accessible.ProgressBar
    Accessible.name: current >= 0 ? "Step " + (current + 1) + " of " + stops.length + ": " + stops[current] : ""

    Repeater {
        model: rail.stops
        delegate: Row {
            required property string modelData
            required property int index
            readonly property bool passed: index < rail.current
            readonly property bool here: index === rail.current
            spacing: 6
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 20
                height: 20
                radius: 10
                color: here ? Ember.ember : passed ? Ember.toneFill(Looks.Accent) : Ember.well
                border.width: here ? 0 : 1
                border.color: passed ? Ember.toneBorder(Looks.Accent) : Ember.hair
                Glyph {
                    visible: passed
                    anchors.centerIn: parent
                    size: 11
                    lineWidth: 3
                    color: Ember.emberText
                    path: Glyphs.check
                }
                Text {
                    visible: !passed
                    anchors.centerIn: parent
                    text: index + 1
                    font: Ember.words(11, "bold")
                    color: here ? Ember.on : Ember.text3
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: modelData
                font: Ember.words(12.5, here ? "semibold" : "medium")
                color: here ? Ember.text : Ember.text3
            }
            Rectangle {
                visible: index < rail.stops.length - 1
                anchors.verticalCenter: parent.verticalCenter
                width: 18
                height: 1
                color: passed ? Ember.ember : Ember.hair
            }
        }
    }
}
