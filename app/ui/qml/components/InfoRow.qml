import QtQuick
import Torvel

// A fact and its value; the value can be selected and copied.
Item {
    id: row
    property string label
    property string value
    property color valueColor: Ember.text
    property bool mono: false
    property string icon
    property color iconColor: Ember.text2

    implicitHeight: Math.max(caption.implicitHeight, shown.implicitHeight) + 18
    Accessible.role: Accessible.StaticText
    Accessible.name: label + ": " + value

    Text {
        id: caption
        anchors.verticalCenter: parent.verticalCenter
        text: row.label
        font: Ember.words(Ember.label, "regular")
        color: Ember.text2
    }
    Row {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, row.width - caption.implicitWidth - 16)
        spacing: Ember.spaceSmall
        Glyph {
            visible: row.icon.length > 0
            anchors.verticalCenter: parent.verticalCenter
            size: 12
            lineWidth: 2.6
            color: row.iconColor
            path: row.icon
        }
        TextEdit {
            id: shown
            // A long value (a list of control files) wraps under itself instead of running off the card.
            width: Math.min(implicitWidth, row.width - caption.implicitWidth - 16 - (row.icon.length > 0 ? 18 : 0))
            wrapMode: TextEdit.Wrap
            horizontalAlignment: TextEdit.AlignRight
            readOnly: true
            selectByMouse: true
            text: row.value
            font.family: row.mono ? "monospace" : Ember.words(Ember.subhead, "medium").family
            font.pixelSize: 14
            color: row.valueColor
            selectionColor: Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, 0.35)
            selectedTextColor: Ember.text
        }
    }
}
