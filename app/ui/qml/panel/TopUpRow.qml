import QtQuick
import Torvel

// The one-off charge to full, with its switch.
Surface {
    id: row
    property bool on: false
    property string help
    property string title
    property string note
    signal toggled(bool on)

    color: Ember.well
    cornerRadius: 14
    implicitHeight: content.implicitHeight + 24

    Row {
        id: content
        anchors.left: parent.left
        anchors.right: toggle.left
        anchors.leftMargin: Ember.spaceRoomy
        anchors.rightMargin: Ember.spaceCozy
        anchors.verticalCenter: parent.verticalCenter
        spacing: 11

        Rectangle {
            width: 30; height: 30; radius: 9
            anchors.verticalCenter: parent.verticalCenter
            color: Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, Ember.dark ? 0.18 : 0.16)
            Glyph {
                anchors.centerIn: parent
                size: 17
                filled: true
                color: Ember.emberText
                path: Glyphs.bolt
            }
        }
        Column {
            width: parent.width - 41
            spacing: Ember.spaceHair
            Row {
                spacing: Ember.spaceSmall
                Text {
                    id: title
                    text: row.title
                    font: Ember.words(Ember.subhead, "semibold")
                    color: Ember.text
                }
                Text {
                    anchors.baseline: title.baseline
                    text: row.note
                    font: Ember.words(Ember.body, "medium")
                    color: Ember.text3
                }
            }
            Text {
                width: parent.width
                text: row.help
                wrapMode: Text.WordWrap
                font: Ember.words(Ember.body, "regular")
                lineHeight: 1.15
                color: Ember.text2
            }
        }
    }
    EmberSwitch {
        id: toggle
        anchors.right: parent.right
        anchors.rightMargin: Ember.spaceRoomy
        anchors.verticalCenter: parent.verticalCenter
        checked: row.on
        enabled: row.enabled
        accessibleName: row.title
        onToggled: (on) => row.toggled(on)
    }
}
