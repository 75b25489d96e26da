import QtQuick
import QtQuick.Window
import Torvel

// The first-run window: the mark and where the user is on top, one screen per step, the way back and the
// way on at the bottom. Every action is the model's.
Window {
    id: window
    required property OnboardingModel model
    readonly property var glyphOf: ({ "powerplug.fill": Glyphs.plug, "laptopcomputer": Glyphs.laptop,
                                      "bag.fill": Glyphs.bag })
    readonly property Item shown: screens.item

    width: 680
    height: 620
    minimumWidth: 640
    minimumHeight: 600
    color: Ember.bg
    title: model.words.windowTitle

    function primary() { if (shown && shown.primaryEnabled && shown.primaryTitle.length > 0) shown.primary() }
    Shortcut { sequences: [StandardKey.Close]; context: Qt.WindowShortcut; onActivated: window.close() }

    // Return goes on and Escape goes back unless the focused control takes the key itself (a focused Back
    // button answers Return with Back).
    Item {
        id: keys
        anchors.fill: parent
        focus: true
        Keys.onReturnPressed: window.primary()
        Keys.onEnterPressed: window.primary()
        Keys.onEscapePressed: if (window.model.canGoBack) window.model.back()

        Item {
            id: header
            width: parent.width
            height: 64
            Row {
                x: 24
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceBase
                FlameMark { size: 20; anchors.verticalCenter: parent.verticalCenter }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: window.model.words.brand
                    font: Ember.words(Ember.heading, "bold")
                    color: Ember.text
                }
            }
            OnboardingRail {
                anchors.right: parent.right
                anchors.rightMargin: Ember.spacePage
                anchors.verticalCenter: parent.verticalCenter
                visible: window.model.progress >= 0
                current: window.model.progress
                states: window.model.words.rail
                stops: window.model.words.stops
                spoken: window.model.words.railStep || ""
            }
            Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Ember.hair }
        }

        Loader {
            id: screens
            x: 48
            anchors.top: header.bottom
            anchors.topMargin: 34
            width: parent.width - 96
            sourceComponent: [welcome, installFailed, unsupported, probeFailed, checking, handOver, service,
                              awaitingApproval, tuning, done][window.model.step]
            // A new screen takes the keys back: the control that had them (Skip, Copy) may be gone with the
            // old one, and Return must still go on.
            onLoaded: keys.forceActiveFocus()
        }

        Item {
            id: footer
            anchors.bottom: parent.bottom
            width: parent.width
            height: 72
            Rectangle { width: parent.width; height: 1; color: Ember.hair }
            EmberButton {
                x: 24
                anchors.verticalCenter: parent.verticalCenter
                visible: window.model.canGoBack
                enabled: !window.model.busy
                title: window.model.words.back
                onClicked: window.model.back()
            }
            Row {
                anchors.right: parent.right
                anchors.rightMargin: Ember.spacePage
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceMedium
                EmberButton {
                    visible: window.shown !== null && window.shown.secondaryTitle.length > 0
                    enabled: !window.model.busy
                    title: window.shown ? window.shown.secondaryTitle : ""
                    onClicked: window.shown.secondary()
                }
                EmberButton {
                    visible: window.shown !== null && window.shown.primaryTitle.length > 0
                    enabled: window.shown !== null && window.shown.primaryEnabled
                    prominent: true
                    large: true
                    defaultAction: true
                    showsKey: enabled
                    title: window.shown ? window.shown.primaryTitle : ""
                    onClicked: window.primary()
                }
            }
        }

        Component {
            id: checking
            OnboardingScreen {
                flame: true
                title: window.model.words.checkingTitle
                subtitle: window.model.words.checkingSubtitle
                primaryTitle: window.model.words.checkingPrimary
                primaryEnabled: false
                Row {
                    spacing: Ember.spaceBase
                    Repeater {
                        model: 3
                        Rectangle {
                            required property int index
                            width: 8; height: 8; radius: 4
                            color: Ember.ember
                            SequentialAnimation on opacity {
                                // With motion reduced the dots stay lit: a pulse is only motion.
                                running: Ember.motion > 0
                                loops: Animation.Infinite
                                PauseAnimation { duration: index * 160 }
                                NumberAnimation { from: 0.25; to: 1; duration: 420; easing.type: Easing.InOutQuad }
                                NumberAnimation { from: 1; to: 0.25; duration: 420; easing.type: Easing.InOutQuad }
                                PauseAnimation { duration: (2 - index) * 160 }
                            }
                        }
                    }
                }
            }
        }

        Component {
            id: welcome
            OnboardingScreen {
                flame: true
                title: window.model.words.welcomeTitle
                subtitle: window.model.words.welcomeSubtitle
                primaryTitle: window.model.words.welcomePrimary
                onPrimary: window.model.next()
                SettingsCard {
                    width: parent.width
                    title: window.model.words.supportsTitle
                    footnote: window.model.words.supportsFootnote
                    Column {
                        width: parent.width
                        InfoRow {
                            width: parent.width
                            label: window.model.words.limitLabel
                            value: window.model.words.limitValue
                            icon: Glyphs.check
                            iconColor: Ember.mintText
                        }
                        RowDivider { inset: 0 }
                        InfoRow {
                            width: parent.width
                            label: window.model.words.dischargeLabel
                            value: window.model.words.dischargeValue
                            valueColor: window.model.discharge ? Ember.text : Ember.text3
                            icon: window.model.discharge ? Glyphs.check : ""
                            iconColor: Ember.mintText
                        }
                        RowDivider { inset: 0 }
                        InfoRow {
                            width: parent.width
                            label: window.model.words.ledLabel
                            value: window.model.words.ledValue
                            valueColor: window.model.led ? Ember.text : Ember.text3
                            icon: window.model.led ? Glyphs.check : ""
                            iconColor: Ember.mintText
                        }
                    }
                }
            }
        }

        Component {
            id: service
            OnboardingScreen {
                glyph: Glyphs.shield
                title: window.model.words.serviceTitle
                subtitle: window.model.words.serviceSubtitle
                primaryTitle: window.model.words.servicePrimary
                primaryEnabled: !window.model.busy
                secondaryTitle: window.model.words.serviceSecondary
                onPrimary: window.model.migrationOnly || window.model.needsMigration ? window.model.migrate()
                         : window.model.helperReady ? window.model.next() : window.model.install()
                onSecondary: window.model.next()
                SettingsCard {
                    width: parent.width
                    Column {
                        width: parent.width
                        InfoRow {
                            width: parent.width
                            label: window.model.words.serviceLabel
                            value: window.model.words.serviceUnit
                            mono: true
                        }
                        RowDivider { inset: 0 }
                        InfoRow { width: parent.width; label: window.model.words.sizeLabel; value: window.model.words.sizeValue }
                        RowDivider { inset: 0 }
                        InfoRow { width: parent.width; label: window.model.words.runsLabel; value: window.model.words.runsValue }
                    }
                }
                CommandCard {
                    visible: !window.model.helperReady
                    width: parent.width
                    command: window.model.command
                    title: window.model.words.terminalTitle
                    copyTitle: window.model.words.copy
                    copiedTitle: window.model.words.copied
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: awaitingApproval
            OnboardingScreen {
                glyph: Glyphs.clock
                tone: Looks.Todo
                title: window.model.words.waitingTitle
                subtitle: window.model.words.waitingSubtitle
                primaryTitle: window.model.words.tryAgain
                primaryEnabled: !window.model.busy
                secondaryTitle: window.model.words.waitingSecondary
                onPrimary: window.model.install()
                onSecondary: window.model.next()
                CommandCard {
                    width: parent.width
                    command: window.model.command
                    title: window.model.words.terminalTitle
                    copyTitle: window.model.words.copy
                    copiedTitle: window.model.words.copied
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: installFailed
            OnboardingScreen {
                glyph: Glyphs.warning
                tone: Looks.Broken
                title: window.model.words.failedTitle
                subtitle: window.model.words.failedSubtitle
                primaryTitle: window.model.words.tryAgain
                primaryEnabled: !window.model.busy
                secondaryTitle: window.model.words.skip
                onPrimary: window.model.install()
                onSecondary: window.model.next()
                NoteCard {
                    width: parent.width
                    icon: Glyphs.warning
                    tone: Looks.Broken
                    title: window.model.words.failure
                    text: window.model.message
                }
                CommandCard {
                    width: parent.width
                    command: window.model.command
                    title: window.model.words.terminalTitle
                    copyTitle: window.model.words.copy
                    copiedTitle: window.model.words.copied
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: handOver
            OnboardingScreen {
                glyph: window.model.helperReady ? Glyphs.boltCircle : Glyphs.clock
                tone: window.model.helperReady ? Looks.Good : Looks.Todo
                title: window.model.words.handOverTitle
                subtitle: window.model.words.handOverSubtitle
                primaryTitle: window.model.words["continue"]
                onPrimary: window.model.next()
                SettingsCard {
                    width: parent.width
                    Column {
                        width: parent.width
                        Repeater {
                            model: window.model.words.handOverRows
                            Column {
                                required property var modelData
                                required property int index
                                width: parent.width
                                RowDivider { visible: index > 0; inset: 0 }
                                InfoRow {
                                    width: parent.width
                                    label: modelData.label
                                    value: modelData.value
                                    valueColor: modelData.ticked ? Ember.text : Ember.text3
                                    icon: modelData.ticked ? Glyphs.check : ""
                                    iconColor: Ember.mintText
                                }
                            }
                        }
                    }
                }
                CommandCard {
                    visible: !window.model.helperReady
                    width: parent.width
                    command: window.model.command
                    title: window.model.words.terminalTitle
                    copyTitle: window.model.words.copy
                    copiedTitle: window.model.words.copied
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: tuning
            OnboardingScreen {
                glyph: Glyphs.sliders
                title: window.model.words.tuningTitle
                subtitle: window.model.words.tuningSubtitle
                primaryTitle: window.model.words.tuningPrimary
                onPrimary: window.model.next()
                Row {
                    width: parent.width
                    spacing: Ember.spaceCozy
                    Repeater {
                        model: window.model.profiles
                        ProfileCard {
                            required property var modelData
                            width: (parent.width - 24) / 3
                            glyph: window.glyphOf[modelData.icon] || Glyphs.laptop
                            title: modelData.title
                            detail: modelData.detail
                            limit: modelData.limitText
                            limitWord: window.model.words.profileLimit
                            spoken: modelData.spoken
                            chosen: window.model.chosenProfile === modelData.id
                            onPicked: window.model.apply(modelData.id)
                        }
                    }
                }
                NoteCard {
                    width: parent.width
                    icon: Glyphs.info
                    tone: Looks.Quiet
                    title: window.model.words.restingTitle
                    text: window.model.words.restingText
                }
            }
        }

        Component {
            id: done
            OnboardingScreen {
                glyph: Glyphs.check
                tone: Looks.Good
                title: window.model.words.doneTitle
                subtitle: window.model.words.doneSubtitle
                primaryTitle: window.model.words.close
                onPrimary: window.close()
            }
        }

        Component {
            id: unsupported
            OnboardingScreen {
                glyph: Glyphs.laptop
                tone: Looks.Todo
                title: window.model.words.unsupportedTitle
                subtitle: window.model.words.unsupportedSubtitle
                primaryTitle: window.model.words.close
                secondaryTitle: window.model.words.checkAgain
                onPrimary: window.close()
                onSecondary: window.model.check()
                NoteCard {
                    width: parent.width
                    icon: Glyphs.info
                    tone: Looks.Todo
                    text: window.model.message
                }
            }
        }

        Component {
            id: probeFailed
            OnboardingScreen {
                glyph: Glyphs.warning
                tone: Looks.Broken
                title: window.model.words.probeFailedTitle
                subtitle: window.model.words.probeFailedSubtitle
                primaryTitle: window.model.words.tryAgain
                secondaryTitle: window.model.words.close
                onPrimary: window.model.check()
                onSecondary: window.close()
                NoteCard {
                    width: parent.width
                    icon: Glyphs.warning
                    tone: Looks.Broken
                    text: window.model.message
                }
            }
        }
    }
}
