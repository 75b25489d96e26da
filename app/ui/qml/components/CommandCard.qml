import QtQuick
import Torvel

// The line that does the same from a terminal, with a button that copies it.
SettingsCard {
    id: card
    property string command
    signal copy()
    property bool copied: false
    property string copyTitle
    property string copiedTitle

    Item {
        width: parent.width
        height: Math.max(line.implicitHeight, copyButton.implicitHeight)
        Glyph {
            id: mark
            anchors.verticalCenter: parent.verticalCenter
            size: 18
            lineWidth: 1.8
            color: Ember.text2
            path: Glyphs.terminal
        }
        TextEdit {
            id: line
            anchors.left: mark.right
            anchors.leftMargin: Ember.spaceCozy
            anchors.right: copyButton.left
            anchors.rightMargin: Ember.spaceCozy
            anchors.verticalCenter: parent.verticalCenter
            readOnly: true
            selectByMouse: true
            wrapMode: TextEdit.WrapAnywhere
            text: card.command
            font.family: "monospace"
            font.pixelSize: 13
            color: Ember.text
            selectionColor: Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, 0.35)
            selectedTextColor: Ember.text
        }
        EmberButton {
            id: copyButton
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            title: card.copied ? card.copiedTitle : card.copyTitle
            onClicked: { card.copy(); card.copied = true }
        }
    }
}
