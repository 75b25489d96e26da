import QtQuick
import Torvel

// One setting: its name and help on the leading side, its control on the trailing side. A disabled row is
// dimmed and its control cannot be used.
Item {
    id: row
    property string label
    property string help
    // What the row's control just did, or why it failed, under the help.
    property string note
    property int noteTone: Looks.Quiet
    readonly property real rowPadding: 13
    readonly property real sidePadding: Ember.spaceSection
    default property alias control: slot.data

    implicitHeight: Math.max(words.implicitHeight, slot.childrenRect.height) + 2 * rowPadding
    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Column {
        id: words
        x: row.sidePadding
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - 2 * row.sidePadding - slot.width - 16
        spacing: 3
        opacity: row.enabled ? 1 : 0.5
        Text {
            width: parent.width
            text: row.label
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.subhead, "semibold")
            color: Ember.text
        }
        Text {
            width: parent.width
            visible: row.help.length > 0
            text: row.help
            wrapMode: Text.WordWrap
            lineHeight: 1.5
            font: Ember.words(Ember.body, "regular")
            color: Ember.text2
        }
        Text {
            width: parent.width
            visible: row.note.length > 0
            text: row.note
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.body, "semibold")
            color: Ember.toneText(row.noteTone)
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
    Item {
        id: slot
        anchors.right: parent.right
        anchors.rightMargin: row.sidePadding
        anchors.verticalCenter: parent.verticalCenter
        width: childrenRect.width
        height: childrenRect.height
    }
}
