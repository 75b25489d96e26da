import QtQuick
import Torvel

// The state of the limit in one capsule: a dot and a word, both coloured by the tone.
Rectangle {
    id: chip
    property int tone: Looks.Quiet
    property string word

    readonly property color dotColour: Ember.toneColor(tone)
    readonly property color wordColour: Ember.toneText(tone)

    implicitWidth: content.implicitWidth + 22
    implicitHeight: 26
    radius: height / 2
    color: Qt.rgba(dotColour.r, dotColour.g, dotColour.b, Ember.dark ? 0.16 : 0.13)
    border.width: 1
    border.color: Qt.rgba(dotColour.r, dotColour.g, dotColour.b, 0.28)
    Accessible.role: Accessible.StaticText
    Accessible.name: word

    Row {
        id: content
        anchors.centerIn: parent
        spacing: Ember.spaceSmall
        Rectangle {
            width: 7; height: 7; radius: 3.5
            anchors.verticalCenter: parent.verticalCenter
            color: chip.dotColour
        }
        Text {
            text: chip.word
            font: Ember.words(Ember.body, "semibold")
            color: chip.wordColour
            anchors.verticalCenter: parent.verticalCenter
        }
    }
}
