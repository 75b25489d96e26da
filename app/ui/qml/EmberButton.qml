import QtQuick
import Torvel

// The capsule button of every page. Prominent wins over destructive.
Item {
    id: button
    property string title
    property bool destructive: false
    property bool prominent: false
    property bool large: false
    property bool defaultAction: false
    property bool showsKey: false
    signal clicked()

    readonly property bool hovering: pointer.containsMouse
    implicitWidth: label.implicitWidth + (large ? 40 : 30)
    implicitHeight: label.implicitHeight + 14
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.onPressAction: button.clicked()
    Keys.onReturnPressed: if (defaultAction) button.clicked()
    Keys.onSpacePressed: button.clicked()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: button.prominent ? (button.hovering ? Qt.lighter(Ember.ember, 1.04) : Ember.ember)
                                : button.destructive ? "transparent" : Ember.well
        border.width: button.prominent ? 0 : 1
        border.color: button.destructive ? Qt.rgba(Ember.stop.r, Ember.stop.g, Ember.stop.b, button.hovering ? 0.7 : 0.45)
                                         : button.hovering ? Ember.text3 : Ember.hair
    }
    Text {
        id: label
        anchors.centerIn: parent
        text: button.title + (button.showsKey ? "  ↩" : "")
        font: Ember.words(button.large ? 14.5 : 13.5, "semibold")
        color: button.prominent ? Ember.on : button.destructive ? Ember.danger : Ember.text
    }
    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
