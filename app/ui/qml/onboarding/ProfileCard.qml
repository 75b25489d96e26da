import QtQuick
import Torvel

// One way of using the laptop, as a card to pick: its symbol, its name, who it suits and where it stops.
Rectangle {
    id: card
    property string glyph
    property string title
    property string detail
    property string limit
    property string limitWord
    property string spoken
    property bool chosen: false
    signal picked()

    implicitHeight: column.implicitHeight + 36
    radius: 14
    color: chosen ? Ember.raised : Ember.screen
    border.width: chosen ? 2 : 1
    border.color: chosen ? Ember.ember : pointer.containsMouse ? Ember.text3 : Ember.ring
    activeFocusOnTab: true
    Accessible.role: Accessible.RadioButton
    Accessible.name: spoken
    Accessible.checked: chosen
    Accessible.onPressAction: card.picked()
    Keys.onSpacePressed: card.picked()
    Keys.onReturnPressed: (event) => { if (!chosen) card.picked(); else event.accepted = false }

    Column {
        id: column
        x: 18
        y: 18
        width: parent.width - 36
        spacing: Ember.spaceCozy
        Item {
            width: parent.width
            height: 30
            IconTile { glyph: card.glyph }
            Rectangle {
                visible: card.chosen
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 20; height: 20; radius: 10
                color: Ember.ember
                Glyph { anchors.centerIn: parent; size: 11; lineWidth: 3; color: Ember.on; path: Glyphs.check }
            }
        }
        Column {
            width: parent.width
            spacing: 3
            Text {
                width: parent.width
                text: card.title
                wrapMode: Text.WordWrap
                font: Ember.words(Ember.title, "semibold")
                color: Ember.text
            }
            Text {
                width: parent.width
                text: card.detail
                wrapMode: Text.WordWrap
                font: Ember.words(Ember.label, "regular")
                color: Ember.text2
            }
        }
        Row {
            spacing: Ember.spaceTight
            Text {
                id: figure
                text: card.limit
                font: Ember.words(Ember.figureSmall, "bold")
                color: card.chosen ? Ember.emberText : Ember.text
            }
            Text {
                anchors.baseline: figure.baseline
                text: card.limitWord
                font: Ember.words(Ember.body, "medium")
                color: Ember.text3
            }
        }
    }
    FocusRing { target: card; radius: 16 }
    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: card.picked()
    }
}
