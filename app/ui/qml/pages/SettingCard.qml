import QtQuick
import Torvel

// One setting around the limit: its symbol and title, its control, what it does, and a line saying what it
// is doing now. A card whose feature this machine lacks shows `unavailableText` in place of the control.
Surface {
    id: card
    property string glyph
    property string title
    property string help
    property string note
    property string stateLine
    // What shows in place of the control when this machine lacks the feature.
    property string unavailableText
    property int stateTone: Looks.Quiet
    property bool available: true
    property bool switchable: true
    property bool on: false
    property bool controlEnabled: true
    default property alias extra: extraSlot.data
    signal toggled(bool on)

    color: Ember.screen
    border.width: 1
    border.color: Ember.ring
    cornerRadius: 16
    implicitHeight: body.implicitHeight + 36

    Column {
        id: body
        x: 18
        y: 18
        width: parent.width - 36
        spacing: Ember.spaceMedium

        Item {
            width: parent.width
            height: 30
            Row {
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceMedium
                IconTile { glyph: card.glyph; anchors.verticalCenter: parent.verticalCenter }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: card.title
                    font: Ember.words(Ember.title, "semibold")
                    color: Ember.text
                }
            }
            EmberSwitch {
                visible: card.available && card.switchable
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                accessibleName: card.title
                checked: card.on
                enabled: card.controlEnabled
                onToggled: (on) => card.toggled(on)
            }
            Rectangle {
                visible: !card.available
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: notHere.implicitWidth + 18
                height: 24
                radius: 12
                color: Ember.well
                border.width: 1
                border.color: Ember.hair
                Text {
                    id: notHere
                    anchors.centerIn: parent
                    text: card.unavailableText
                    font: Ember.words(Ember.small, "semibold")
                    color: Ember.text3
                }
            }
        }
        Text {
            width: parent.width
            text: card.help
            wrapMode: Text.WordWrap
            lineHeight: 1.5
            font: Ember.words(Ember.body, "regular")
            color: Ember.text2
        }
        Text {
            visible: card.note.length > 0
            width: parent.width
            text: card.note
            wrapMode: Text.WordWrap
            lineHeight: 1.3
            font: Ember.words(Ember.body, "regular")
            color: Ember.text3
        }
        Item {
            id: extraSlot
            visible: children.length > 0 && card.available
            width: parent.width
            height: childrenRect.height
        }
        Row {
            visible: card.stateLine.length > 0 && card.available
            width: parent.width
            spacing: 7
            Rectangle {
                width: 7; height: 7; radius: 3.5
                anchors.verticalCenter: parent.verticalCenter
                color: Ember.toneColor(card.stateTone)
            }
            Text {
                width: parent.width - 14
                text: card.stateLine
                wrapMode: Text.WordWrap
                font: Ember.words(Ember.body, "semibold")
                color: Ember.toneText(card.stateTone)
            }
        }
    }
}
