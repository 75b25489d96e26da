import QtQuick
import Torvel

// A page pushed inside a section, with the way back to the page it came from; Escape goes back too.
FocusScope {
    id: page
    property string backTitle
    default property alias content: holder.data
    signal back()

    implicitHeight: column.implicitHeight
    Keys.onEscapePressed: page.back()

    Column {
        id: column
        width: parent.width
        spacing: Ember.spaceRoomy

        Item {
            id: backButton
            width: backRow.implicitWidth + 8
            height: 26
            activeFocusOnTab: true
            Accessible.role: Accessible.Button
            Accessible.name: page.backTitle
            Accessible.onPressAction: page.back()
            Keys.onSpacePressed: page.back()
            Keys.onReturnPressed: page.back()
            Row {
                id: backRow
                anchors.verticalCenter: parent.verticalCenter
                spacing: 5
                Glyph {
                    anchors.verticalCenter: parent.verticalCenter
                    size: 11
                    lineWidth: 3
                    color: pointer.containsMouse ? Ember.text : Ember.emberText
                    path: Glyphs.chevronLeft
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: page.backTitle
                    font: Ember.words(Ember.control, "semibold")
                    color: pointer.containsMouse ? Ember.text : Ember.emberText
                }
            }
            MouseArea {
                id: pointer
                anchors.fill: parent
                hoverEnabled: true
                cursorShape: Qt.PointingHandCursor
                onClicked: page.back()
            }
            FocusRing { target: backButton; radius: 8 }
        }
        Item {
            id: holder
            width: parent.width
            height: childrenRect.height
        }
    }
}
