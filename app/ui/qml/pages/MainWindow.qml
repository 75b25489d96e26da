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
    title: Route.product

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

    // Ctrl+Tab and Ctrl+Page Down go to the next section, with Shift or Page Up to the one before, as in the
    // desktop's other tabbed windows.
    function stepSection(by) {
        const sections = Route.sections
        let at = 0
        for (let i = 0; i < sections.length; ++i)
            if (sections[i].value === Route.section) at = i
        Route.section = sections[(at + by + sections.length) % sections.length].value
    }
    Shortcut {
        sequences: ["Ctrl+Tab", "Ctrl+PgDown"]
        context: Qt.WindowShortcut
        onActivated: window.stepSection(1)
    }
    Shortcut {
        sequences: ["Ctrl+Shift+Tab", "Ctrl+Shift+Backtab", "Ctrl+PgUp"]
        context: Qt.WindowShortcut
        onActivated: window.stepSection(-1)
    }

    // Keys the focused control leaves alone reach the page: the arrows, Page Up and Page Down, Home and End
    // scroll it, wherever the focus is (a tab, a card's control, or nothing yet).
    Item {
        id: keys
        anchors.fill: parent
        focus: true
        Keys.onPressed: (event) => {
            const step = {
                [Qt.Key_Up]: -48, [Qt.Key_Down]: 48,
                [Qt.Key_PageUp]: -(scroller.height - 48), [Qt.Key_PageDown]: scroller.height - 48,
                [Qt.Key_Home]: -scroller.contentHeight, [Qt.Key_End]: scroller.contentHeight
            }[event.key]
            if (step === undefined || event.modifiers & (Qt.ControlModifier | Qt.AltModifier)) return
            scroller.scrollTo(scroller.contentY + step)
            event.accepted = true
        }

        Item {
            id: header
            width: parent.width
            height: 64
            Row {
                x: 22
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceBase
                FlameMark { size: 20; anchors.verticalCenter: parent.verticalCenter }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: Route.product
                    font: Ember.words(Ember.heading, "bold")
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

            function scrollTo(y) {
                contentY = Math.max(0, Math.min(y, contentHeight - height))
            }
            // Brings a control Tab moved to into view, with a little of what surrounds it.
            function reveal(item) {
                let inside = item
                while (inside && inside !== scroller.contentItem) inside = inside.parent
                if (!inside) return
                const top = item.mapToItem(scroller.contentItem, 0, 0).y
                const margin = 24
                if (top - margin < contentY)
                    scrollTo(top - margin)
                else if (top + item.height + margin > contentY + height)
                    scrollTo(Math.min(top - margin, top + item.height + margin - height))
            }

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
    }

    onActiveFocusItemChanged: scroller.reveal(activeFocusItem)

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
