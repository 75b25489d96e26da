import QtQuick
import Torvel

// A segmented chooser: segments on a recessed track, the chosen one raised. `options` are records with at least
// `value` and `label`; picking a different value calls `picked`, the owner writes the model. Segments are equal
// while every label fits its share; when one does not (a longer language), each takes its label's width instead
// of cutting it.
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
    // Each label's width with its padding, and the track that holds them all unequal.
    readonly property var labelWidths: {
        let widths = []
        for (let i = 0; i < measure.count; ++i) widths.push(measure.itemAt(i).implicitWidth + 28)
        return widths
    }
    readonly property real fittedWidth: 6 + labelWidths.reduce((sum, w) => sum + w, 0)
    readonly property var segmentWidths: {
        const room = width - 6, count = labelWidths.length
        if (count === 0) return []
        if (room / count >= Math.max(...labelWidths)) return labelWidths.map(() => room / count)
        const scale = room / (fittedWidth - 6)
        return labelWidths.map((w) => w * scale)
    }
    function segmentX(index) {
        let x = 3
        for (let i = 0; i < index; ++i) x += segmentWidths[i]
        return x
    }

    // The thumb slides only after a pick of the user's: a page that opens, or a value that arrives from the
    // model while it loads, shows the thumb in place at once.
    property bool userPicked: false
    function pick(index) {
        if (!enabled || index < 0 || index >= options.length || index === chosen) return
        userPicked = true
        control.picked(options[index].value)
    }

    implicitHeight: 34
    implicitWidth: 6 + labelWidths.length * Math.max(0, ...labelWidths)
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
        x: control.segmentX(control.chosen)
        y: 4
        width: control.segmentWidths[control.chosen] ?? 0
        height: control.height - 6
        radius: 8
        color: Ember.shade
        opacity: 0.35
        Behavior on x { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
        Behavior on width { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
    }
    Rectangle {
        id: thumb
        visible: control.chosen >= 0
        x: control.segmentX(control.chosen)
        y: 3
        width: control.segmentWidths[control.chosen] ?? 0
        height: control.height - 6
        radius: 8
        color: Ember.raised
        border.width: 1
        border.color: Ember.ring
        Behavior on x { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
        Behavior on width { enabled: control.userPicked; NumberAnimation { duration: 160 * Ember.motion; easing.type: Easing.InOutQuad } }
    }
    Row {
        x: 3
        y: 3
        Repeater {
            model: control.options
            delegate: Item {
                required property var modelData
                required property int index
                width: control.segmentWidths[index] ?? 0
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
