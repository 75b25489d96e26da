import QtQuick
import Torvel

// The settings section: every field of the charge settings, the limit first, then what happens around it,
// then Torvel's own habits.
Column {
    id: page
    spacing: Ember.spaceRoomy

    PageHeader {
        width: parent.width
        title: SettingsPage.words.title
        subtitle: SettingsPage.words.subtitle
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
        title: SettingsPage.words.waitingTitle
        text: SettingsPage.unreachableText
    }
    Column {
        // Another program sets the charge limit too: who, what to change, and the one fix when there is one.
        objectName: "otherProgram"
        visible: SettingsPage.otherProgramText.length > 0
        width: parent.width
        spacing: Ember.spaceMedium
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

    SectionHead { text: SettingsPage.words.aroundLimit }

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
            title: SettingsPage.words.discharge
            unavailableText: SettingsPage.words.notOnThisMac
            available: SettingsPage.dischargeSupported
            on: SettingsPage.discharge
            controlEnabled: SettingsPage.canReachService
            help: SettingsPage.dischargeHelp
            stateLine: SettingsPage.dischargeState
            stateTone: SettingsPage.discharge ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setDischarge(on)
        }
        SettingCard {
            id: heat
            width: cards.cellWidth
            height: cards.firstRow
            glyph: Glyphs.thermometer
            title: SettingsPage.words.overheating
            on: SettingsPage.thermal
            controlEnabled: SettingsPage.canReachService
            help: SettingsPage.words.overheatingHelp
            note: SettingsPage.heatLine
            stateLine: SettingsPage.thermalState
            stateTone: SettingsPage.thermal ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setThermal(on)
            Item {
                width: parent.width
                height: 34
                enabled: SettingsPage.thermal
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: SettingsPage.words.pauseAt
                    font: Ember.words(Ember.body, "medium")
                    color: Ember.text2
                    opacity: parent.enabled ? 1 : 0.5
                }
                EmberSegmented {
                    anchors.right: parent.right
                    width: 200
                    accessibleName: SettingsPage.words.pauseAt
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
            title: SettingsPage.words.led
            unavailableText: SettingsPage.words.notOnThisMac
            available: SettingsPage.ledSupported
            on: SettingsPage.led
            controlEnabled: SettingsPage.ledControllable
            help: SettingsPage.ledHelp
            stateLine: SettingsPage.ledState
            stateTone: SettingsPage.led ? Looks.Good : Looks.Quiet
            onToggled: (on) => SettingsPage.setLed(on)
            Item {
                width: parent.width
                height: 30
                visible: SettingsPage.led
                PopChoice {
                    anchors.left: parent.left
                    width: parent.width
                    caption: SettingsPage.words.blinkSpeed
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
            title: SettingsPage.words.topUp
            switchable: false
            help: SettingsPage.words.topUpHelp
            AdviceSegmented {
                recommendedWord: SettingsPage.words.recommended
                width: parent.width
                caption: SettingsPage.words.topUpEnds
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

    SectionHead { text: SettingsPage.words.torvel }

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
                title: SettingsPage.words.history
                help: SettingsPage.words.historyHelp
                Item {
                    width: parent.width
                    height: 30
                    EmberSwitch {
                        anchors.verticalCenter: parent.verticalCenter
                        accessibleName: SettingsPage.words.history
                        checked: SettingsPage.history
                        enabled: SettingsPage.canReachService
                        onToggled: (on) => SettingsPage.setHistory(on)
                    }
                    PopChoice {
                        anchors.right: parent.right
                        caption: SettingsPage.words.keepFor
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
                title: SettingsPage.words.startup
                help: SettingsPage.words.startupHelp
                Column {
                    width: parent.width
                    spacing: Ember.spaceSmall
                    EmberSegmented {
                        width: parent.width
                        accessibleName: SettingsPage.words.startup
                        options: SettingsPage.startupOptions
                        selection: SettingsPage.startup
                        onPicked: (value) => SettingsPage.setStartup(value)
                    }
                    Row {
                        visible: SettingsPage.startupNeedsApproval
                        spacing: Ember.spaceSmall
                        Text { text: SettingsPage.words.approvalRequired; font: Ember.words(Ember.body, "semibold"); color: Ember.goldText }
                        Text {
                            text: SettingsPage.words.open
                            font: Ember.words(Ember.body, "semibold")
                            color: Ember.emberText
                            MouseArea { anchors.fill: parent; cursorShape: Qt.PointingHandCursor; onClicked: SettingsPage.openStartupApproval() }
                        }
                    }
                    Text {
                        visible: SettingsPage.startupError.length > 0
                        width: parent.width
                        text: SettingsPage.startupError
                        wrapMode: Text.WordWrap
                        font: Ember.words(Ember.small, "medium")
                        color: Ember.danger
                    }
                }
            }
            StripDivider { height: strip.height - 32; anchors.verticalCenter: parent.verticalCenter }
            StripCell {
                id: updatesCell
                width: strip.cellWidth
                glyph: Glyphs.download
                title: SettingsPage.words.updates
                help: Updater.help
                UpdateControls { width: parent.width }
            }
        }
    }
}
