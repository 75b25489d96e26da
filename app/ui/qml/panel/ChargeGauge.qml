import QtQuick
import Torvel

// The charge against the 20–100 % scale, with the limit as a knob to drag. Every value change goes through
// the panel model, which clamps it and saves it.
FocusScope {
    id: gauge
    property int charge: 0
    property bool chargeKnown: true
    property int limit: 80
    property int minimum: 20
    property int maximum: 100
    property bool nativeMode: false
    // The words, as the panel model gives them.
    property var words: ({})
    property string limitText
    signal dragged(int value)
    signal released()
    signal stepped(int delta)

    implicitHeight: column.implicitHeight
    activeFocusOnTab: true
    // Focus a pointer or the panel's opening gave: no ring until a key is pressed.
    property bool quietFocus: false
    onActiveFocusChanged: if (!activeFocus) quietFocus = false

    function position(value) {
        const clamped = Math.max(minimum, Math.min(maximum, value))
        return (clamped - minimum) / (maximum - minimum) * track.width
    }
    function valueAt(x) {
        return Math.round(minimum + x / track.width * (maximum - minimum))
    }

    Column {
        id: column
        width: parent.width
        spacing: Ember.spaceBase

        Item {
            width: parent.width
            height: caption.implicitHeight
            Text {
                id: caption
                text: gauge.words.chargeLimit
                font: Ember.words(Ember.body, "semibold")
                color: Ember.text2
            }
            Text {
                anchors.right: parent.right
                anchors.baseline: caption.baseline
                text: gauge.limitText
                font: Ember.words(Ember.control, "bold")
                color: Ember.emberText
            }
        }

        Item {
            id: trackArea
            width: parent.width
            height: 30

            Rectangle {
                id: track
                anchors.fill: parent
                radius: height / 2
                color: Ember.track
                clip: true

                Rectangle {
                    id: fill
                    visible: gauge.chargeKnown
                    height: parent.height
                    width: Math.max(height, gauge.position(gauge.charge))
                    radius: height / 2
                    gradient: Gradient {
                        orientation: Gradient.Horizontal
                        GradientStop { position: 0; color: Ember.ember3 }
                        GradientStop { position: 1; color: Ember.emberLight }
                    }
                }
                // Above the limit is where the battery is kept from going; the knob covers the band's start.
                Rectangle {
                    x: gauge.position(gauge.limit) - parent.height / 2
                    width: Math.max(0, parent.width - x)
                    height: parent.height
                    radius: height / 2
                    color: Ember.zone
                }
            }

            Rectangle {
                id: knob
                readonly property real diameter: 26
                width: diameter
                height: diameter
                radius: diameter / 2
                x: Math.max(-2, Math.min(track.width - diameter + 2, gauge.position(gauge.limit) - diameter / 2))
                anchors.verticalCenter: parent.verticalCenter
                color: Ember.raised
                border.width: 1
                border.color: Ember.ring
                scale: pointer.pressed ? 1.08 : 1
                Behavior on scale { NumberAnimation { duration: 120 * Ember.motion } }
                Accessible.role: Accessible.Slider
                Accessible.name: gauge.words.chargeLimit

                Rectangle {
                    anchors.centerIn: parent
                    width: 16; height: 16; radius: 8
                    color: Ember.ember
                }
                Rectangle {
                    z: -1
                    anchors.centerIn: parent
                    anchors.verticalCenterOffset: 1.5
                    width: parent.width + 2; height: parent.height + 2; radius: width / 2
                    color: Qt.rgba(Ember.shade.r, Ember.shade.g, Ember.shade.b, Ember.dark ? 0.5 : 0.16)
                }
            }

            MouseArea {
                id: pointer
                anchors.fill: parent
                anchors.topMargin: -6
                anchors.bottomMargin: -6
                cursorShape: Qt.SizeHorCursor
                preventStealing: true
                onPressed: (mouse) => { gauge.quietFocus = true; gauge.forceActiveFocus(); gauge.dragged(gauge.valueAt(mouse.x)) }
                onPositionChanged: (mouse) => { if (pressed) gauge.dragged(gauge.valueAt(mouse.x)) }
                onReleased: gauge.released()
            }
        }

        Item {
            width: parent.width
            height: low.implicitHeight
            Text {
                id: low
                text: gauge.words.lowest
                font: Ember.words(Ember.caption, "medium")
                color: Ember.text3
            }
            Text {
                anchors.right: parent.right
                text: gauge.words.highest
                font: Ember.words(Ember.caption, "medium")
                color: Ember.text3
            }
        }

        Text {
            visible: gauge.nativeMode
            text: gauge.words.nativeRange
            font: Ember.words(Ember.small, "regular")
            color: Ember.text3
        }
    }

    // Well clear of the scale's end labels, which sit at the column's very edges.
    Rectangle {
        anchors.fill: column
        anchors.margins: -8
        radius: 12
        color: "transparent"
        border.width: 2
        border.color: Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, 0.5)
        visible: gauge.activeFocus && !gauge.quietFocus
    }

    Accessible.role: Accessible.Slider
    Accessible.name: gauge.words.chargeLimit
    Accessible.onIncreaseAction: gauge.stepped(1)
    Accessible.onDecreaseAction: gauge.stepped(-1)
    // A step from the keyboard shows where the keyboard is.
    function keyed(delta) {
        quietFocus = false
        stepped(delta)
    }
    Keys.onRightPressed: gauge.keyed(1)
    Keys.onUpPressed: gauge.keyed(1)
    Keys.onLeftPressed: gauge.keyed(-1)
    Keys.onDownPressed: gauge.keyed(-1)
}
