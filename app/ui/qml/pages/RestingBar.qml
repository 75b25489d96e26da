import QtQuick
import Torvel

// The 20–100 % scale with the limit as a knob and the resting range under it as a hatched band. Drags move
// the limit without saving; the release saves; keys and assistive steps save at once.
FocusScope {
    id: bar
    property int limit: 80
    property int rest: 75
    property int lowest: 20
    property bool nativeMode: false
    // The words, as the page's model gives them: "Charge limit", "80%", "rests 75–80%", the scale's ends
    // and the system mechanism's range.
    property string name
    property string limitText
    property string span
    property string lowText
    property string highText
    property string nativeRange
    signal dragged(int value)
    signal released()
    signal stepped(int steps)

    readonly property int scaleLow: 20
    readonly property int scaleHigh: 100
    function position(value) {
        const v = Math.max(scaleLow, Math.min(scaleHigh, value))
        return (v - scaleLow) / (scaleHigh - scaleLow) * track.width
    }
    function valueAt(x) { return Math.round(scaleLow + x / track.width * (scaleHigh - scaleLow)) }

    implicitHeight: column.implicitHeight
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.5
    Accessible.role: Accessible.Slider
    Accessible.name: name
    Accessible.description: limitText
    Accessible.onIncreaseAction: bar.stepped(1)
    Accessible.onDecreaseAction: bar.stepped(-1)
    Keys.onRightPressed: bar.stepped(1)
    Keys.onUpPressed: bar.stepped(1)
    Keys.onLeftPressed: bar.stepped(-1)
    Keys.onDownPressed: bar.stepped(-1)

    Column {
        id: column
        width: parent.width
        spacing: Ember.spaceBase

        Item {
            width: parent.width
            height: 28
            Rectangle {
                id: track
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                height: 12
                radius: 6
                color: Ember.track
                clip: true
                // Up to the resting level the battery is free to sink; the band is where it rests.
                Rectangle {
                    width: bar.position(bar.rest) + radius
                    height: parent.height
                    radius: 6
                    color: Ember.zone
                }
                Canvas {
                    id: hatch
                    x: bar.position(bar.rest)
                    width: Math.max(0, bar.position(bar.limit) - x)
                    height: parent.height
                    onWidthChanged: requestPaint()
                    onPaint: {
                        const ctx = getContext("2d")
                        ctx.reset()
                        ctx.fillStyle = Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, 0.28)
                        ctx.fillRect(0, 0, width, height)
                        ctx.strokeStyle = Ember.ember
                        ctx.lineWidth = 1.6
                        for (let x = -height; x < width + height; x += 5) {
                            ctx.beginPath()
                            ctx.moveTo(x, height)
                            ctx.lineTo(x + height, 0)
                            ctx.stroke()
                        }
                    }
                    Connections {
                        target: Ember
                        function onAppearanceChanged() { hatch.requestPaint() }
                    }
                }
            }
            Rectangle {
                id: knob
                readonly property real diameter: 24
                width: diameter; height: diameter; radius: diameter / 2
                anchors.verticalCenter: parent.verticalCenter
                x: bar.position(bar.limit) - diameter / 2
                color: Ember.raised
                border.width: 1
                border.color: Ember.ring
                scale: pointer.pressed ? 1.08 : 1
                Behavior on scale { NumberAnimation { duration: 120 * Ember.motion } }
                Rectangle {
                    z: -1
                    anchors.centerIn: parent
                    anchors.verticalCenterOffset: 1.5
                    width: parent.width + 2; height: width; radius: width / 2
                    color: Ember.shade
                    opacity: 0.45
                }
                Rectangle {
                    anchors.centerIn: parent
                    width: 12; height: 12; radius: 6
                    color: Ember.ember
                }
            }
            MouseArea {
                id: pointer
                anchors.fill: parent
                anchors.topMargin: -6
                anchors.bottomMargin: -6
                enabled: bar.enabled
                cursorShape: Qt.SizeHorCursor
                preventStealing: true
                onPressed: (mouse) => { bar.forceActiveFocus(); bar.dragged(bar.valueAt(mouse.x)) }
                onPositionChanged: (mouse) => { if (pressed) bar.dragged(bar.valueAt(mouse.x)) }
                onReleased: bar.released()
            }
            FocusRing { target: bar; radius: 14; visible: bar.activeFocus && !pointer.pressed }
        }

        Item {
            width: parent.width
            height: low.implicitHeight
            Text {
                id: low
                text: bar.lowText
                font: Ember.words(Ember.caption, "medium")
                color: Ember.text3
            }
            Text {
                visible: bar.rest < bar.limit
                x: Math.max(low.width + 8, Math.min(parent.width - width - 40, bar.position((bar.rest + bar.limit) / 2) - width / 2))
                text: bar.span
                font: Ember.words(Ember.caption, "semibold")
                color: Ember.emberText
            }
            Text {
                anchors.right: parent.right
                text: bar.highText
                font: Ember.words(Ember.caption, "medium")
                color: Ember.text3
            }
        }
        Text {
            visible: bar.nativeMode
            text: bar.nativeRange
            font: Ember.words(Ember.small, "regular")
            color: Ember.text3
        }
    }
}
