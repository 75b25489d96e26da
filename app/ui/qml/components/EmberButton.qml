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
    readonly property int kind: prominent ? Looks.Prominent : destructive ? Looks.Destructive : Looks.Plain
    implicitWidth: label.implicitWidth + (large ? 40 : 30)
    implicitHeight: label.implicitHeight + 14
    opacity: enabled ? 1 : 0.45
    activeFocusOnTab: enabled
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.onPressAction: if (enabled) button.clicked()
    Keys.onReturnPressed: if (defaultAction || activeFocus) button.clicked()
    Keys.onSpacePressed: button.clicked()

    // A soft ember glow under the prominent button only.
    Rectangle {
        visible: button.kind === Looks.Prominent
        anchors.fill: parent
        anchors.topMargin: Ember.spaceHair
        anchors.bottomMargin: -2
        radius: height / 2
        color: Ember.ember3
        opacity: 0.35
    }
    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: button.kind === Looks.Prominent ? (button.hovering ? Qt.lighter(Ember.ember, 1.04) : Ember.ember)
                                               : button.kind === Looks.Destructive ? "transparent" : Ember.well
        border.width: button.kind === Looks.Prominent ? 0 : 1
        border.color: button.kind === Looks.Destructive
                      ? Qt.rgba(Ember.stop.r, Ember.stop.g, Ember.stop.b, button.hovering ? 0.7 : 0.45)
                      : button.hovering ? Ember.text3 : Ember.hair
    }
    Text {
        id: label
        anchors.centerIn: parent
        text: button.title + (button.showsKey ? "  ↩" : "")
        font: Ember.words(button.large ? Ember.lead : Ember.control, "semibold")
        color: button.kind === Looks.Prominent ? Ember.on : button.kind === Looks.Destructive ? Ember.danger : Ember.text
    }
    FocusRing { target: button; radius: height / 2 }
    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        enabled: button.enabled
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
