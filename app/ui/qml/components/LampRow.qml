import QtQuick
import Torvel

// One reading of a checkup: the piece's symbol and title with its explanation, an optional button, and the
// reading's word behind its lamp. The lamps of consecutive rows stand in one column.
Item {
    id: row
    property string glyph
    property string title
    property string explanation
    property int tone: Looks.Quiet
    property string word
    property string button
    property bool buttonEnabled: true
    // Off where the rows are a list rather than readings, so the words take the lamps' column.
    property bool showsLamp: true
    signal buttonClicked()

    readonly property real rowPadding: Ember.spaceRoomy
    readonly property real sidePadding: Ember.spaceSection
    readonly property real stateWidth: 118

    implicitHeight: Math.max(tile.height, words.implicitHeight, action.visible ? action.height : 0) + 2 * rowPadding
    Accessible.role: Accessible.Grouping
    Accessible.name: title + ": " + word

    IconTile {
        id: tile
        x: row.sidePadding
        y: row.rowPadding
        glyph: row.glyph
    }
    Column {
        id: words
        x: tile.x + tile.width + 14
        y: row.rowPadding + 1
        width: (row.showsLamp ? state.x : row.width - row.sidePadding + 16) - x - (action.visible ? action.width + 24 : 16)
        spacing: 3
        Text {
            width: parent.width
            text: row.title
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.subhead, "semibold")
            color: Ember.text
        }
        Text {
            width: parent.width
            visible: row.explanation.length > 0
            text: row.explanation
            wrapMode: Text.WordWrap
            lineHeight: 1.25
            font: Ember.words(Ember.body, "regular")
            color: Ember.text2
        }
    }
    EmberButton {
        id: action
        visible: row.button.length > 0
        anchors.right: state.left
        anchors.rightMargin: Ember.spaceLarge
        y: row.rowPadding
        title: row.button
        enabled: row.buttonEnabled
        onClicked: row.buttonClicked()
    }
    Row {
        id: state
        visible: row.showsLamp
        x: row.width - row.sidePadding - row.stateWidth
        y: row.rowPadding + 4
        width: row.stateWidth
        spacing: Ember.spaceBase
        Lamp {
            anchors.verticalCenter: parent.verticalCenter
            tone: row.tone
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: row.word
            font: Ember.words(Ember.label, "semibold")
            // The word carries the state only when something is wrong or deliberately off.
            color: row.tone === Looks.Broken ? Ember.danger : row.tone === Looks.Quiet ? Ember.text3 : Ember.text
        }
    }
}
