import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Torvel

// The main window: the mark and the section tabs in a header, the chosen section's page below.
Window {
    id: window
    width: 900
    height: 640
    minimumWidth: 820
    minimumHeight: 560
    color: Ember.bg
    title: "Torvel"

    // Ctrl+1 … Ctrl+5, in the order of the tabs.
    Repeater {
        model: Route.sections
        delegate: Item {
            required property var modelData
            required property int index
            Shortcut {
                sequence: "Ctrl+" + (index + 1)
                context: Qt.WindowShortcut
                onActivated: Route.section = modelData.value
            }
        }
    }

    Item {
        id: header
        width: parent.width
        height: 64
        Row {
            x: 22
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            FlameMark { size: 20; anchors.verticalCenter: parent.verticalCenter }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: "Torvel"
                font: Ember.words(16, "bold")
                color: Ember.text
            }
        }
        WindowTabs {
            id: tabs
            anchors.centerIn: parent
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Ember.hair
        }
    }

    Flickable {
        id: scroller
        objectName: "pageScroller"
        anchors.top: header.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        contentWidth: width
        contentHeight: page.height + 64
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        Loader {
            id: page
            objectName: "page"
            x: Math.max(32, (scroller.width - width) / 2)
            y: 30
            width: Math.min(760, scroller.width - 64)
            sourceComponent: [todayPage, settingsPage, macPage, memoryPage, calibrationPage][Route.section]
            onLoaded: scroller.contentY = 0
        }
    }

    Component {
        id: todayPage
        TodayView {}
    }
    Component {
        id: settingsPage
        SettingsView {}
    }
    Component {
        id: macPage
        MacView {}
    }
    Component {
        id: memoryPage
        MemoryView {}
    }
    Component {
        id: calibrationPage
        CalibrationView {}
    }
}
