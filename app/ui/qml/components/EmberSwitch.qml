import QtQuick
import Torvel

// The on/off switch of every setting: a 38 × 22 capsule, the knob sliding to the trailing end when on.
Item {
    id: control
    property bool checked: false
    property string accessibleName
    signal toggled(bool on)

    implicitWidth: 38
    implicitHeight: 22
    opacity: enabled ? 1 : 0.45
    activeFocusOnTab: true
    Accessible.role: Accessible.CheckBox
    Accessible.name: accessibleName
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()
    Keys.onSpacePressed: flip()

    function flip() { if (enabled) control.toggled(!checked) }

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Ember.track
        border.width: 1
        border.color: Ember.hair
    }
    Rectangle {
        anchors.fill: parent
        radius: height / 2
        opacity: control.checked ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: 180 * Ember.motion; easing.type: Easing.InOutQuad } }
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: Ember.ember3 }
            GradientStop { position: 1; color: Ember.emberLight }
        }
    }
    Rectangle {
        id: knobShadow
        width: 18; height: 18; radius: 9
        x: knob.x; y: knob.y + 1
        color: Qt.rgba(0, 0, 0, 0.18)
    }
    Rectangle {
        id: knob
        width: 18; height: 18; radius: 9
        y: 2
        x: control.checked ? control.width - width - 2 : 2
        color: "white"
        Behavior on x { NumberAnimation { duration: 180 * Ember.motion; easing.type: Easing.InOutQuad } }
    }
    MouseArea {
        anchors.fill: parent
        cursorShape: control.enabled ? Qt.PointingHandCursor : Qt.ArrowCursor
        onClicked: control.flip()
    }
    // A click never takes the focus, so the ring only ever follows the keyboard.
    FocusRing { target: control; radius: 14 }
}
