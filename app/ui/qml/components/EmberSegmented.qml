import QtQuick
import Torvel

// A segmented chooser: equal segments on a recessed track, the chosen one raised. `options` are records with
// at least `value` and `label`; picking a different value calls `picked`, the owner writes the model.
Item {
    id: control
    property var options: []
    property var selection
    property string accessibleName
    signal picked(var value)

    readonly property int chosen: {
        for (let i = 0; i < options.length; ++i) if (options[i].value === selection) return i
        return -1
    }
    readonly property real segmentWidth: options.length > 0 ? (width - 6) / options.length : 0

    // The thumb slides only after a pick of the user's: a page that opens, or a value that arrives from the
    // model while it loads, shows the thumb in place at once.
    property bool userPicked: false
    function pick(index) {
        if (!enabled || index < 0 || index >= options.length || index === chosen) return
        userPicked = true
        control.picked(options[index].value)
    }

    implicitHeight: 34
    implicitWidth: {
        let widest = 0
        for (let i = 0; i < measure.count; ++i) widest = Math.max(widest, measure.itemAt(i).implicitWidth)
        return 6 + options.length * (widest + 28)
    }
    opacity: enabled ? 1 : 0.5
    activeFocusOnTab: enabled
    Accessible.role: Accessible.PageTabList
    Accessible.name: accessibleName
    Keys.onLeftPressed: pick(chosen - 1)
    Keys.onRightPressed: pick(chosen + 1)

    Repeater {
        id: measure
        model: control.options
        Text { visible: false; text: modelData.label; font: Ember.words(Ember.label, "semibold") }
    }

    Rectangle {
        anchors.fill: parent
        radius: 10
        color: Ember.well
        border.width: 1
        border.color: Ember.hair
    }
    Rectangle {
        visible: control.chosen >= 0
        x: 3 + control.chosen * control.segmentWidth
        y: 4
        width: control.segmentWidth
        height: control.height - 6
        radius: 8
        color: Ember.shade
        opacity: 0.35
        Behavior on x { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
    }
    Rectangle {
        id: thumb
        visible: control.chosen >= 0
        x: 3 + control.chosen * control.segmentWidth
        y: 3
        width: control.segmentWidth
        height: control.height - 6
        radius: 8
        color: Ember.raised
        border.width: 1
        border.color: Ember.ring
        Behavior on x { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
    }
    Row {
        x: 3
        y: 3
        Repeater {
            model: control.options
            delegate: Item {
                required property var modelData
                required property int index
                width: control.segmentWidth
                height: control.height - 6
                Accessible.role: Accessible.PageTab
                Accessible.name: modelData.label
                Accessible.selected: index === control.chosen
                Accessible.onPressAction: control.pick(index)
                Rectangle {
                    visible: modelData.recommended === true
                    anchors.right: parent.right
                    anchors.top: parent.top
                    anchors.margins: Ember.spaceSmall
                    width: 6; height: 6; radius: 3
                    color: Ember.ember
                }
                Text {
                    anchors.centerIn: parent
                    width: parent.width - 8
                    horizontalAlignment: Text.AlignHCenter
                    elide: Text.ElideRight
                    text: modelData.label
                    font: Ember.words(Ember.label, "semibold")
                    color: index === control.chosen ? Ember.text : Ember.text2
                }
                MouseArea {
                    anchors.fill: parent
                    enabled: control.enabled
                    cursorShape: Qt.PointingHandCursor
                    onClicked: control.pick(index)
                }
            }
        }
    }
    FocusRing { target: control; radius: 12 }
}
