import QtQuick
import QtQuick.Shapes
import QtQuick.Window
import Torvel

// The charger's arrival: a dark capsule that drops under the top panel with a bolt and the charge, glows
// once and folds away. It never takes the pointer or the focus. `still` shows it fully open, for a picture.
Window {
    id: overlay
    property string label
    property bool still: false
    property bool open: still
    property bool glow: still

    width: 260
    height: 86
    color: "transparent"
    flags: Qt.ToolTip | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowTransparentForInput
           | Qt.WindowDoesNotAcceptFocus | Qt.NoDropShadowWindowHint

    // 0 s open, 0.18 s glow, 0.9 s glow off, 1.7 s close; the window goes at 2.2 s.
    SequentialAnimation {
        running: !overlay.still && overlay.visible
        ScriptAction { script: overlay.open = true }
        PauseAnimation { duration: 180 }
        ScriptAction { script: overlay.glow = true }
        PauseAnimation { duration: 720 }
        ScriptAction { script: overlay.glow = false }
        PauseAnimation { duration: 800 }
        ScriptAction { script: overlay.open = false }
    }

    // A picture has no desktop behind the window; this stands in for it.
    Rectangle {
        visible: overlay.still
        anchors.fill: parent
        color: Ember.bg
    }

    Item {
        id: capsule
        anchors.horizontalCenter: parent.horizontalCenter
        y: overlay.open ? 10 : -8
        width: content.implicitWidth + 36
        height: 42
        Accessible.role: Accessible.Notification
        Accessible.name: overlay.label
        opacity: overlay.open ? 1 : 0
        scale: overlay.open ? 1 : 0.82
        Behavior on y { NumberAnimation { duration: (overlay.open ? 340 : 300) * Ember.motion
                                          easing.type: overlay.open ? Easing.OutCubic : Easing.InCubic } }
        Behavior on opacity { NumberAnimation { duration: (overlay.open ? 340 : 300) * Ember.motion
                                                easing.type: overlay.open ? Easing.OutCubic : Easing.InCubic } }
        Behavior on scale { NumberAnimation { duration: (overlay.open ? 340 : 300) * Ember.motion
                                              easing.type: overlay.open ? Easing.OutCubic : Easing.InCubic } }

        // The ember glow around the capsule, in soft rings that thin outwards.
        Repeater {
            model: [12, 8, 4]
            Rectangle {
                required property int modelData
                anchors.fill: parent
                anchors.margins: -modelData
                radius: height / 2
                color: Ember.ember
                opacity: overlay.glow ? 0.22 * (1 - modelData / 16) : 0
                Behavior on opacity { NumberAnimation { duration: (overlay.glow ? 280 : 500) * Ember.motion
                                                        easing.type: overlay.glow ? Easing.OutCubic : Easing.InOutQuad } }
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: height / 2
            color: Ember.on
            border.width: 1
            border.color: Qt.rgba(1, 1, 1, 0.08)
        }
        Row {
            id: content
            anchors.centerIn: parent
            spacing: Ember.spaceBase
            Shape {
                anchors.verticalCenter: parent.verticalCenter
                width: 15
                height: 15
                antialiasing: true
                ShapePath {
                    scale: Qt.size(15 / 24, 15 / 24)
                    strokeWidth: 0
                    strokeColor: "transparent"
                    fillGradient: LinearGradient {
                        x1: 5; y1: 12; x2: 19; y2: 12
                        GradientStop { position: 0; color: Ember.ember3 }
                        GradientStop { position: 1; color: Ember.emberLight }
                    }
                    PathSvg { path: Glyphs.bolt }
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                visible: overlay.label.length > 0
                text: overlay.label
                font: Ember.words(Ember.label, "semibold")
                color: Ember.nightText
            }
        }
    }
}
