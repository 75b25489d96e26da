import QtQuick
import Torvel

// A number whose digits roll into place one by one when it changes, as a counter's wheels do.
Row {
    id: digits
    property int value: 0
    property font font: Ember.words(Ember.hero, "bold")
    property color color: Ember.text
    readonly property string shown: String(value)

    Accessible.role: Accessible.StaticText
    Accessible.name: shown

    Repeater {
        model: digits.shown.length
        delegate: Item {
            id: wheel
            required property int index
            readonly property int digit: Number(digits.shown.charAt(index))
            width: sample.implicitWidth
            height: sample.implicitHeight
            clip: true
            Text { id: sample; visible: false; text: "0"; font: digits.font }
            Column {
                y: -wheel.digit * wheel.height
                // Wheels further right turn a little later, so the change reads from left to right.
                Behavior on y { SequentialAnimation {
                    PauseAnimation { duration: wheel.index * 40 * Ember.motion }
                    NumberAnimation { duration: 260 * Ember.motion; easing.type: Easing.OutCubic }
                } }
                Repeater {
                    model: 10
                    Text {
                        required property int index
                        width: wheel.width
                        height: wheel.height
                        horizontalAlignment: Text.AlignHCenter
                        text: index
                        font: digits.font
                        color: digits.color
                    }
                }
            }
        }
    }
}
