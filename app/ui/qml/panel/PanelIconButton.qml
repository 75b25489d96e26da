import QtQuick
import QtQuick.Controls
import Torvel

// A 26-point round button with one symbol; its word is the tooltip and the accessible name.
Item {
    id: button
    property string glyph
    property string word
    signal clicked()

    width: 26
    height: 26
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: word
    Accessible.onPressAction: button.clicked()
    Keys.onSpacePressed: button.clicked()
    Keys.onReturnPressed: button.clicked()

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: pointer.containsMouse || button.activeFocus ? Ember.raised : Ember.well
        border.width: 1
        border.color: pointer.containsMouse ? Ember.text3 : Ember.hair
    }
    Glyph {
        anchors.centerIn: parent
        size: 13
        lineWidth: 2.2
        color: Ember.text2
        path: button.glyph
    }
    FocusRing { target: button; radius: width / 2 + 3 }
    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
    ToolTip.visible: pointer.containsMouse
    ToolTip.delay: 600
    ToolTip.text: word
}
