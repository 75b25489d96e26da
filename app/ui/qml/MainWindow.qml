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
        PlaceholderPage {
            title: "Today"
            subtitle: "Your charge through the day, and what it did to the battery."
            glyph: Glyphs.chart
            cardTitle: "Today’s journal will be drawn here"
            cardText: "Torvel keeps a reading a minute while something changes. The day’s chart and its story arrive in a coming version; the panel already shows today’s minutes at 100%."
        }
    }
    Component {
        id: settingsPage
        SettingsView {}
    }
    Component {
        id: macPage
        PlaceholderPage {
            title: "This Mac"
            subtitle: "What this machine allows, and the health of the charge service."
            glyph: Glyphs.laptop
            cardTitle: "The checkup of every piece will be listed here"
            cardText: "The service, the limit’s proof, startup, the light, the journal and updates, each with what to do. Until then, the panel’s footer tells the overall state."
        }
    }
    Component {
        id: memoryPage
        PlaceholderPage {
            title: "Long memory"
            subtitle: "Months of readings, told as wear and health."
            glyph: Glyphs.calendar
            cardTitle: "Weeks and months of the journal will be told here"
            cardText: "Time spent full, time spent hot and the health trend, from the journal Torvel keeps on this machine. It never leaves it."
        }
    }
    Component {
        id: calibrationPage
        PlaceholderPage {
            title: "Calibration"
            subtitle: "A full sweep that measures what the battery really holds."
            glyph: Glyphs.gauge
            cardTitle: "Calibration runs will be started and followed here"
            cardText: "A run charges to full, drains to a low mark and charges back, then compares what went in with what the battery reports."
        }
    }
}
