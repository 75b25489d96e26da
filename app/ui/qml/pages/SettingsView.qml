import QtQuick
import Torvel

// The settings section: every field of the charge settings, the limit first, then what happens around it,
// then Torvel's own habits.
Column {
    id: page
    spacing: 14

    PageHeader {
        width: parent.width
        title: "Settings"
        subtitle: "How Torvel holds your battery, and what it does around the limit."
    }

    NoteCard {
        visible: SettingsPage.lockActive
        width: parent.width
        tone: Looks.Broken
        icon: Glyphs.lock
        title: SettingsPage.lockText
    }
    NoteCard {
        visible: !SettingsPage.canReachService
        width: parent.width
        tone: Looks.Todo
        icon: Glyphs.warning
        title: "Some settings are waiting for the charge service"
        text: SettingsPage.unreachableText
    }
    Column {
        // Another program sets the charge limit too: who, what to change, and the one fix when there is one.
        objectName: "otherProgram"
        visible: SettingsPage.otherProgramText.length > 0
        width: parent.width
        spacing: 10
        NoteCard {
            width: parent.width
            tone: Looks.Todo
            icon: Glyphs.warning
            title: SettingsPage.otherProgramText
            text: SettingsPage.otherProgramError
        }
        EmberButton {
            visible: SettingsPage.otherProgramFixTitle.length > 0
            title: SettingsPage.otherProgramFixTitle
            enabled: SettingsPage.otherProgramFixEnabled
            onClicked: SettingsPage.fixOtherProgram()
        }
    }

    LimitHero { width: parent.width }
    NoteCard {
        // What the service said of the change just made: the battery holds another limit, or none.
        objectName: "saveNote"
        visible: SettingsPage.saveNote.length > 0
        width: parent.width
        tone: Looks.Todo
        icon: Glyphs.info
        title: SettingsPage.saveNote
    }

    SectionHead { text: "Around the limit" }

    Grid {
        id: cards
        width: parent.width
        columns: 2
        columnSpacing: 14
        rowSpacing: 14
        readonly property real cellWidth: (width - columnSpacing) / 2
        readonly property real firstRow: Math.max(discharge.implicitHeight, heat.implicitHeight)
        readonly property real secondRow: Math.max(light.implicitHeight, topUp.implicitHeight)

        SettingCard {
            id: discharge
            width: cards.cellWidth
            height: cards.firstRow
            glyph: Glyphs.comeDown
            title: "Auto discharge"
            available: SettingsPage.dischargeSupported
            on: SettingsPage.discharge
            controlEnabled: SettingsPage.canReachService
            help: available ? "If the battery is above your limit, Torvel cuts the adapter so it comes back down, even plugged in. It costs a little cycle life, and nothing sits at 100% any more."
                            : "This Mac won’t let software cut the power."
            stateLine: SettingsPage.discharge ? "Comes back down to the limit on its own, even plugged in" : "Off"
            stateTone: SettingsPage.discharge ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setDischarge(on)
        }
        SettingCard {
            id: heat
            width: cards.cellWidth
            height: cards.firstRow
            glyph: Glyphs.thermometer
            title: "Overheating"
            on: SettingsPage.thermal
            controlEnabled: SettingsPage.canReachService
            help: "Charging starts again 3 °C lower."
            note: SettingsPage.heatLine
            stateLine: SettingsPage.thermal ? "Pauses above " + SettingsPage.thermalLimit + " °C · " + SettingsPage.thermalWord
                                            : "Never pauses for heat"
            stateTone: SettingsPage.thermal ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setThermal(on)
            Item {
                width: parent.width
                height: 34
                enabled: SettingsPage.thermal
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Pause at"
                    font: Ember.words(12.5, "medium")
                    color: Ember.text2
                    opacity: parent.enabled ? 1 : 0.5
                }
                EmberSegmented {
                    anchors.right: parent.right
                    width: 200
                    accessibleName: "Pause at"
                    enabled: parent.enabled
                    options: SettingsPage.thermalOptions
                    selection: SettingsPage.thermalLimit
                    onPicked: (value) => SettingsPage.setThermalLimit(value)
                }
            }
        }
        SettingCard {
            id: light
            width: cards.cellWidth
            height: cards.secondRow
            glyph: Glyphs.lightbulb
            title: "MagSafe light"
            available: SettingsPage.ledSupported
            on: SettingsPage.led
            controlEnabled: SettingsPage.ledControllable
            help: available ? "Steady green at your limit, blinking on the way there, amber on a normal charge. The light can be seen even with the lid shut."
                            : "This Mac has no MagSafe light we can drive."
            stateLine: SettingsPage.led ? "Follows the charge" : "Left to macOS"
            stateTone: SettingsPage.led ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setLed(on)
            Item {
                width: parent.width
                height: 30
                visible: SettingsPage.led
                PopChoice {
                    anchors.left: parent.left
                    width: parent.width
                    caption: "Blink speed"
                    enabled: SettingsPage.ledControllable
                    options: SettingsPage.blinkOptions
                    selection: SettingsPage.blinkTenths
                    onPicked: (value) => SettingsPage.setBlinkTenths(value)
                }
            }
        }
        SettingCard {
            id: topUp
            width: cards.cellWidth
            height: cards.secondRow
            glyph: Glyphs.boltCircle
            title: "End of Top-up"
            switchable: false
            help: "Top-up charges to 100% once, before you leave. Then your limit comes back on its own."
            AdviceSegmented {
                width: parent.width
                caption: "Top-up ends"
                options: SettingsPage.topUpOptions
                selection: SettingsPage.topUpHours
                help: {
                    for (const o of SettingsPage.topUpOptions) if (o.value === SettingsPage.topUpHours) return o.help
                    return ""
                }
                onPicked: (value) => SettingsPage.setTopUpHours(value)
            }
        }
    }

    SectionHead { text: "Torvel" }

    Surface {
        id: strip
        width: parent.width
        height: Math.max(historyCell.implicitHeight, startupCell.implicitHeight, updatesCell.implicitHeight)
        color: Ember.screen
        border.width: 1
        border.color: Ember.ring
        cornerRadius: 16
        readonly property real cellWidth: (width - 2) / 3

        Row {
            anchors.fill: parent
            StripCell {
                id: historyCell
                width: strip.cellWidth
                glyph: Glyphs.clock
                title: "History"
                help: "One reading a minute at most, and only when something changes. It feeds the journal and the long memory, and never leaves this Mac."
                Item {
                    width: parent.width
                    height: 30
                    EmberSwitch {
                        anchors.verticalCenter: parent.verticalCenter
                        accessibleName: "History"
                        checked: SettingsPage.history
                        enabled: SettingsPage.canReachService
                        onToggled: (on) => SettingsPage.setHistory(on)
                    }
                    PopChoice {
                        anchors.right: parent.right
                        caption: "Keep for"
                        enabled: SettingsPage.history
                        options: SettingsPage.historyOptions
                        selection: SettingsPage.historyDays
                        onPicked: (value) => SettingsPage.setHistoryDays(value)
                    }
                }
            }
            StripDivider { height: strip.height - 32; anchors.verticalCenter: parent.verticalCenter }
            StripCell {
                id: startupCell
                width: strip.cellWidth
                glyph: Glyphs.enter
                title: "Startup"
                help: "Torvel comes back to the menu bar when you turn the Mac on. No Dock icon, no window. Your limit holds even without it: the charge service doesn’t need the app."
                Column {
                    width: parent.width
                    spacing: 6
                    EmberSegmented {
                        width: parent.width
                        accessibleName: "Startup"
                        options: SettingsPage.startupOptions
                        selection: SettingsPage.startup
                        onPicked: (value) => SettingsPage.setStartup(value)
                    }
                    Row {
                        visible: SettingsPage.startupNeedsApproval
                        spacing: 6
                        Text { text: "Approval required ·"; font: Ember.words(12.5, "semibold"); color: Ember.goldText }
                        Text {
                            text: "Open"
                            font: Ember.words(12.5, "semibold")
                            color: Ember.emberText
                            MouseArea { anchors.fill: parent; cursorShape: Qt.PointingHandCursor; onClicked: SettingsPage.openStartupApproval() }
                        }
                    }
                    Text {
                        visible: SettingsPage.startupError.length > 0
                        width: parent.width
                        text: SettingsPage.startupError
                        wrapMode: Text.WordWrap
                        font: Ember.words(12, "medium")
                        color: Ember.danger
                    }
                }
            }
            StripDivider { height: strip.height - 32; anchors.verticalCenter: parent.verticalCenter }
            StripCell {
                id: updatesCell
                width: strip.cellWidth
                glyph: Glyphs.download
                title: "Updates"
                help: Updater.help
                UpdateControls { width: parent.width }
            }
        }
    }
}
