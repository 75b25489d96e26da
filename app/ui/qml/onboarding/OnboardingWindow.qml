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
    readonly property bool replacing: model.migrationOnly || model.needsMigration
    readonly property Item shown: screens.item

    width: 680
    height: 620
    minimumWidth: 640
    minimumHeight: 600
    color: Ember.bg
    title: model.migrationOnly ? "Torvel · Replace the service"
         : model.approvalOnly ? "Torvel · The charge service"
         : model.review ? "Torvel · First run" : "Welcome to Torvel"

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
                    text: "Torvel"
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
                stops: window.model.usesNative ? ["Welcome", "Service", "Profile"]
                                               : ["Welcome", "Service", "Hand-over", "Profile"]
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
                title: "Back"
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
                title: "Looking at this laptop"
                subtitle: "Torvel asks its charge service what this machine lets it control. It takes a moment."
                primaryTitle: "Checking…"
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
                title: window.replacing ? "Torvel’s service needs replacing"
                     : window.model.review ? "Torvel, from the start" : "Welcome to Torvel"
                subtitle: window.replacing
                          ? "An older copy of the charge service is hiding the one that came with this version."
                          : "Torvel keeps the battery inside the charge range you choose, so it spends less of its life full and warm."
                primaryTitle: window.model.helperReady && !window.model.review ? "Continue" : "Get started"
                onPrimary: window.model.next()
                SettingsCard {
                    width: parent.width
                    title: "What this laptop supports"
                    footnote: window.model.helperReady
                              ? "The charge service is installed and running."
                              : "Holding a limit takes a small system service"
                                + (window.model.daemonSizeText === "—" ? "" : ", " + window.model.daemonSizeText)
                                + ". The next screen installs it."
                    Column {
                        width: parent.width
                        InfoRow {
                            width: parent.width
                            label: "A charge limit"
                            value: "Supported"
                            icon: Glyphs.check
                            iconColor: Ember.mintText
                        }
                        RowDivider { inset: 0 }
                        InfoRow {
                            width: parent.width
                            label: "Running from the charger down to the limit"
                            value: window.model.discharge ? "Supported" : "Not on this laptop"
                            valueColor: window.model.discharge ? Ember.text : Ember.text3
                            icon: window.model.discharge ? Glyphs.check : ""
                            iconColor: Ember.mintText
                        }
                        RowDivider { inset: 0 }
                        InfoRow {
                            width: parent.width
                            label: "The charging light"
                            value: window.model.led ? "Supported" : "Not on this laptop"
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
                title: window.replacing ? "Replace the older service"
                     : window.model.helperReady ? "The charge service is installed" : "Install the charge service"
                subtitle: window.replacing
                          ? "Torvel removes the copy an earlier install left in /etc/systemd/system and starts the one that came with it. Your settings and history stay."
                          : window.model.helperReady
                            ? "It runs on its own and holds your limit. Nothing to do here."
                            : "Only a system service may write to the battery’s charge controller. Your desktop asks for your password once; Torvel never sees it."
                primaryTitle: window.model.busy ? (window.replacing ? "Replacing…" : "Installing…")
                            : window.replacing ? "Replace service"
                            : window.model.helperReady ? "Continue" : "Install service"
                primaryEnabled: !window.model.busy
                secondaryTitle: window.model.helperReady || window.model.migrationOnly ? "" : "Skip for now"
                onPrimary: window.replacing ? window.model.migrate()
                         : window.model.helperReady ? window.model.next() : window.model.install()
                onSecondary: window.model.next()
                SettingsCard {
                    width: parent.width
                    Column {
                        width: parent.width
                        InfoRow { width: parent.width; label: "Service"; value: "torvel-daemon.service"; mono: true }
                        RowDivider { inset: 0 }
                        InfoRow { width: parent.width; label: "Size on disk"; value: window.model.daemonSizeText }
                        RowDivider { inset: 0 }
                        InfoRow { width: parent.width; label: "Runs"; value: "From start-up, before anyone logs in" }
                    }
                }
                CommandCard {
                    visible: !window.model.helperReady
                    width: parent.width
                    command: window.model.command
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: awaitingApproval
            OnboardingScreen {
                glyph: Glyphs.clock
                tone: Looks.Todo
                title: "Waiting for the charge service"
                subtitle: "It isn’t running yet. If the password prompt was dismissed, try again; if you install it from a terminal, Torvel moves on by itself."
                primaryTitle: window.model.busy ? "Installing…" : "Try again"
                primaryEnabled: !window.model.busy
                secondaryTitle: window.model.approvalOnly ? "" : "Skip for now"
                onPrimary: window.model.install()
                onSecondary: window.model.next()
                CommandCard {
                    width: parent.width
                    command: window.model.command
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: installFailed
            OnboardingScreen {
                glyph: Glyphs.warning
                tone: Looks.Broken
                title: "The service couldn’t be installed"
                subtitle: "Try again, or install it from a terminal with the command below."
                primaryTitle: window.model.busy ? "Installing…" : "Try again"
                primaryEnabled: !window.model.busy
                secondaryTitle: "Skip for now"
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
                primaryTitle: "Continue"
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
                    onCopy: window.model.copyCommand()
                }
            }
        }

        Component {
            id: tuning
            OnboardingScreen {
                glyph: Glyphs.sliders
                title: "How do you use this laptop?"
                subtitle: "Pick the closest. You can fine-tune it any time in Settings."
                primaryTitle: "Finish"
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
                            limit: modelData.limit
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
                title: "You’re all set"
                subtitle: window.model.words.doneSubtitle
                primaryTitle: "Close"
                onPrimary: window.close()
            }
        }

        Component {
            id: unsupported
            OnboardingScreen {
                glyph: Glyphs.laptop
                tone: Looks.Todo
                title: "Torvel can’t hold a limit here"
                subtitle: "The charge service looked and found no way in."
                primaryTitle: "Close"
                secondaryTitle: "Check again"
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
                title: "The check didn’t finish"
                subtitle: "Torvel couldn’t ask its charge service what this laptop allows."
                primaryTitle: "Try again"
                secondaryTitle: "Close"
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
