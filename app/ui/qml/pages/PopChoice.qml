import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Torvel

// A compact choice: the chosen label in a small field, the options with their help in a menu under it.
Item {
    id: choice
    property string caption
    property var options: []
    property var selection
    signal picked(var value)

    readonly property int chosen: {
        for (let i = 0; i < options.length; ++i) if (options[i].value === selection) return i
        return -1
    }
    implicitWidth: field.width + (captionText.visible ? captionText.implicitWidth + 8 : 0)
    implicitHeight: 30
    opacity: enabled ? 1 : 0.5
    activeFocusOnTab: enabled
    Accessible.role: Accessible.ComboBox
    Accessible.name: caption
    Accessible.description: chosen >= 0 ? options[chosen].label : ""
    Accessible.onPressAction: menu.open()
    Keys.onSpacePressed: menu.open()
    Keys.onReturnPressed: menu.open()

    Text {
        id: captionText
        visible: choice.caption.length > 0
        anchors.verticalCenter: parent.verticalCenter
        text: choice.caption
        font: Ember.words(Ember.body, "medium")
        color: Ember.text2
    }
    Rectangle {
        id: field
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: shown.implicitWidth + 42
        height: 30
        radius: 9
        color: pointer.containsMouse ? Ember.raised : Ember.well
        border.width: 1
        border.color: pointer.containsMouse ? Ember.text3 : Ember.hair
        Text {
            id: shown
            x: 12
            anchors.verticalCenter: parent.verticalCenter
            text: choice.chosen >= 0 ? choice.options[choice.chosen].label : "—"
            font: Ember.words(Ember.label, "semibold")
            color: Ember.text
        }
        Glyph {
            anchors.right: parent.right
            anchors.rightMargin: 11
            anchors.verticalCenter: parent.verticalCenter
            size: 10
            lineWidth: 3.2
            color: Ember.text2
            path: Glyphs.chevronDown
        }
        MouseArea {
            id: pointer
            anchors.fill: parent
            hoverEnabled: true
            enabled: choice.enabled
            cursorShape: Qt.PointingHandCursor
            onClicked: menu.open()
        }
        FocusRing { target: choice; radius: 12 }
    }

    Popup {
        id: menu
        // The option the arrow keys are on; Return or Space picks it.
        property int cursor: -1
        x: field.x + field.width - width
        // Under the field where the window has room for it, else over it (decided as it opens, where the page
        // has been scrolled to); never past the window's edges.
        property bool above: false
        y: above ? field.y - 6 - implicitHeight : field.y + field.height + 6
        margins: Ember.spaceBase
        width: 240
        padding: Ember.spaceSmall
        modal: false
        focus: true
        onAboutToShow: {
            cursor = Math.max(0, choice.chosen)
            const window = choice.Window.window
            const fieldTop = field.mapToItem(null, 0, 0).y
            const roomBelow = window ? window.height - (fieldTop + field.height + 6) - margins : implicitHeight
            const roomAbove = fieldTop - 6 - margins
            above = implicitHeight > roomBelow && roomAbove > roomBelow
        }
        function pick(index) {
            close()
            if (index >= 0 && index !== choice.chosen) choice.picked(choice.options[index].value)
        }
        background: Rectangle {
            radius: 12
            color: Ember.raised
            border.width: 1
            border.color: Ember.hair
        }
        contentItem: Column {
            focus: true
            Keys.onUpPressed: menu.cursor = Math.max(0, menu.cursor - 1)
            Keys.onDownPressed: menu.cursor = Math.min(choice.options.length - 1, menu.cursor + 1)
            Keys.onReturnPressed: menu.pick(menu.cursor)
            Keys.onEnterPressed: menu.pick(menu.cursor)
            Keys.onSpacePressed: menu.pick(menu.cursor)
            Repeater {
                model: choice.options
                delegate: Rectangle {
                    required property var modelData
                    required property int index
                    width: 228
                    height: rowText.implicitHeight + 14
                    radius: 8
                    color: rowPointer.containsMouse || index === menu.cursor ? Ember.well : "transparent"
                    Accessible.role: Accessible.MenuItem
                    Accessible.name: modelData.label
                    Column {
                        id: rowText
                        x: 10
                        anchors.verticalCenter: parent.verticalCenter
                        width: parent.width - 40
                        spacing: 1
                        Text {
                            text: modelData.label
                            font: Ember.words(Ember.control, "semibold")
                            color: Ember.text
                        }
                        Text {
                            width: parent.width
                            visible: modelData.help.length > 0
                            text: modelData.help
                            wrapMode: Text.WordWrap
                            font: Ember.words(Ember.small, "regular")
                            color: Ember.text3
                        }
                    }
                    Glyph {
                        visible: index === choice.chosen
                        anchors.right: parent.right
                        anchors.rightMargin: Ember.spaceMedium
                        anchors.verticalCenter: parent.verticalCenter
                        size: 13
                        lineWidth: 2.6
                        color: Ember.emberText
                        path: Glyphs.check
                    }
                    MouseArea {
                        id: rowPointer
                        anchors.fill: parent
                        hoverEnabled: true
                        cursorShape: Qt.PointingHandCursor
                        onClicked: menu.pick(index)
                    }
                }
            }
        }
    }
}
