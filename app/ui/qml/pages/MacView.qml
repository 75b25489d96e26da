import QtQuick
import Torvel

// The "This Mac" section: whether everything is in place, the checkup as a list of lamps, the facts a bug
// report needs and the two actions that cannot be undone.
Column {
    id: page
    spacing: Ember.spaceRoomy

    // The piece names of the checkup's rows, as the model gives them, to their symbols.
    readonly property var glyphs: ({
        service: Glyphs.cpu,
        verified: Glyphs.shieldCheck,
        control: Glyphs.sliders,
        login: Glyphs.enter,
        led: Glyphs.lightbulb,
        history: Glyphs.clock,
        updates: Glyphs.download
    })

    Component.onCompleted: MacPage.refresh()

    HeroHeader {
        width: parent.width
        headline: MacPage.headline
        subline: MacPage.subline

        EmberButton {
            objectName: "fixButton"
            visible: MacPage.fixTitle.length > 0
            prominent: true
            large: true
            title: MacPage.fixTitle
            enabled: MacPage.fixEnabled
            onClicked: MacPage.activateFix()
        }
        NoteCard {
            // The replacement failed, or has to be finished by hand: the why, and the line to run.
            visible: MacPage.fixError.length > 0 || MacPage.terminalCommand.length > 0
            width: Math.min(parent.width, 580)
            tone: Looks.Broken
            icon: Glyphs.warning
            title: MacPage.fixError
            text: MacPage.terminalCommand
        }
    }

    NoteCard {
        objectName: "trayNote"
        visible: MacPage.trayNote.length > 0
        width: parent.width
        text: MacPage.trayNote
        onVisibleChanged: if (visible) MacPage.trayNoteShown()
        Component.onCompleted: if (visible) MacPage.trayNoteShown()
    }

    SettingsCard {
        width: parent.width
        title: MacPage.words.checkup
        inset: 0
        Column {
            width: parent.width
            Repeater {
                model: MacPage.rows
                delegate: Column {
                    required property var modelData
                    required property int index
                    width: parent.width
                    RowDivider { visible: index > 0 }
                    LampRow {
                        width: parent.width
                        glyph: page.glyphs[modelData.piece] || Glyphs.info
                        title: modelData.title
                        explanation: modelData.explanation
                        tone: modelData.tone
                        word: modelData.word
                        button: modelData.button
                        buttonEnabled: modelData.buttonEnabled !== false
                        onButtonClicked: modelData.piece === "updates" ? MacPage.checkForUpdates()
                                       : modelData.piece === "control" ? MacPage.fixOtherProgram()
                                                                       : MacPage.openLoginItems()
                    }
                    // The row's own button checks; the rest of the updater sits under its explanation.
                    Loader {
                        active: modelData.piece === "updates"
                        width: parent.width
                        sourceComponent: Item {
                            implicitHeight: controls.height + 8
                            UpdateControls {
                                id: controls
                                x: 62
                                y: -6
                                width: parent.width - x - 160
                                showsCheck: false
                            }
                        }
                    }
                }
            }
        }
    }

    NoteCard {
        // The control row's fix failed: the system's words, beside the row that offered it.
        objectName: "otherProgramError"
        visible: MacPage.otherProgramError.length > 0
        width: parent.width
        tone: Looks.Broken
        icon: Glyphs.warning
        title: MacPage.otherProgramError
    }

    DisclosureCard {
        objectName: "troubleshooting"
        width: parent.width
        title: MacPage.words.troubleshooting

        Column {
            width: parent.width
            InfoRow { width: parent.width; label: MacPage.words.machine; value: MacPage.machine }
            RowDivider { inset: 0 }
            InfoRow { width: parent.width; label: MacPage.words.system; value: MacPage.system }
            RowDivider { inset: 0 }
            InfoRow { width: parent.width; label: MacPage.words.torvel; value: MacPage.appVersion }
            RowDivider { inset: 0 }
            InfoRow { width: parent.width; label: MacPage.words.chargeService; value: MacPage.serviceRunningTime }
            RowDivider { inset: 0 }
            InfoRow { width: parent.width; label: MacPage.words.chargeMechanism; value: MacPage.chargeMechanism }
            RowDivider { inset: 0 }
            Repeater {
                model: MacPage.batteries
                delegate: Column {
                    required property var modelData
                    width: parent.width
                    InfoRow { width: parent.width; label: modelData.label; value: modelData.value }
                    RowDivider { inset: 0 }
                }
            }
            InfoRow { width: parent.width; label: MacPage.words.forcedDischarge; value: MacPage.forcedDischarge }
            RowDivider { inset: 0 }
            InfoRow { width: parent.width; label: MacPage.words.historyOnDisk; value: MacPage.historyOnDisk }
            RowDivider { inset: 0 }

            // The rows carry their own side padding; they span the card's whole width.
            SettingsRow {
                x: -18
                width: parent.width + 36
                label: MacPage.words.report
                help: MacPage.words.reportHelp
                note: MacPage.copiedNote
                noteTone: Looks.Good
                EmberButton {
                    title: MacPage.copyTitle
                    onClicked: MacPage.copyReport()
                }
            }
            RowDivider { inset: 0 }
            SettingsRow {
                x: -18
                width: parent.width + 36
                label: MacPage.words.resetCounter
                help: MacPage.words.resetHelp
                note: MacPage.resetError
                noteTone: Looks.Broken
                EmberButton {
                    title: MacPage.resetTitle
                    enabled: MacPage.canReset
                    onClicked: MacPage.resetCounter()
                }
            }
            RowDivider { inset: 0 }
            SettingsRow {
                x: -18
                width: parent.width + 36
                label: MacPage.words.remove
                help: MacPage.words.removeHelp
                note: MacPage.removeError
                noteTone: Looks.Broken
                EmberButton {
                    objectName: "removeButton"
                    title: MacPage.removeTitle
                    destructive: true
                    enabled: MacPage.canRemove
                    onClicked: removal.open()
                }
            }
        }
    }

    PageFooter {
        width: parent.width
        note: MacPage.privacyNote
        links: [
            { label: MacPage.words.website, url: MacPage.websiteUrl },
            { label: MacPage.words.privacy, url: MacPage.privacyUrl },
            { label: MacPage.words.writeToUs, url: MacPage.contactUrl }
        ]
    }

    ConfirmDialog {
        id: removal
        objectName: "removalDialog"
        title: MacPage.words.removeQuestion
        message: MacPage.words.removeMessage
        cancelTitle: MacPage.words.cancel
        confirmTitle: MacPage.words.eraseEverything
        onConfirmed: MacPage.removeEverything()
    }
}
