import QtQuick
import Torvel

// The "Calibration" section: what a sweep is for and what it costs, the button that starts one after a
// question, the sweep step by step while it runs, and what the past sweeps measured.
Column {
    id: page
    spacing: Ember.spaceRoomy

    readonly property var stepGlyphs: [Glyphs.bolt, Glyphs.comeDown, Glyphs.bolt, Glyphs.clock, Glyphs.shieldCheck]
    readonly property var stepWords: ({ done: Calibration.words.done, current: Calibration.words.now, ahead: "" })
    readonly property var stepTones: ({ done: Looks.Good, current: Looks.Accent, ahead: Looks.Quiet })

    HeroHeader {
        width: parent.width
        headline: Calibration.running ? Calibration.stepLabel
                                      : Calibration.verdict.length > 0 ? Calibration.words.lastSweep : Calibration.words.measure
        subline: Calibration.running ? Calibration.stepReason
                                     : Calibration.verdict.length > 0 ? Calibration.verdict
                                     : Calibration.words.intro

        Row {
            visible: Calibration.running
            spacing: Ember.spaceCozy
            ProgressTrack {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(page.width, 420)
                known: Calibration.progressKnown
                value: Calibration.progress
                valueText: Calibration.progressText
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: Calibration.progressText
                font: Ember.words(Ember.label, "semibold")
                color: Ember.text2
            }
        }
        Row {
            spacing: Ember.spaceCozy
            EmberButton {
                objectName: "startButton"
                visible: !Calibration.running && !Calibration.requested
                prominent: true
                large: true
                title: Calibration.words.start
                enabled: Calibration.canStart
                onClicked: confirmation.open()
            }
            EmberButton {
                objectName: "stopButton"
                visible: Calibration.running || Calibration.requested
                large: true
                title: Calibration.words.stop
                onClicked: Calibration.stop()
            }
        }
        NoteCard {
            visible: !Calibration.canStart && !Calibration.running
            width: Math.min(parent.width, 580)
            tone: Looks.Todo
            icon: Glyphs.info
            text: Calibration.blockedReason
        }
        NoteCard {
            visible: Calibration.lastFailure.length > 0 && !Calibration.running
            width: Math.min(parent.width, 580)
            tone: Looks.Broken
            icon: Glyphs.warning
            title: Calibration.words.lastFailed
            text: Calibration.lastFailure
        }
    }

    SettingsCard {
        width: parent.width
        title: Calibration.stepsTitle
        footnote: Calibration.words.stepsFootnote
        inset: 0
        Column {
            width: parent.width
            Repeater {
                model: Calibration.steps
                delegate: Column {
                    required property var modelData
                    required property int index
                    width: parent.width
                    RowDivider { visible: index > 0 }
                    LampRow {
                        width: parent.width
                        glyph: page.stepGlyphs[index]
                        title: modelData.label
                        explanation: modelData.reason
                        tone: page.stepTones[modelData.state]
                        word: page.stepWords[modelData.state]
                        showsLamp: Calibration.running
                    }
                }
            }
        }
    }

    SettingsCard {
        visible: Calibration.runs.length > 0
        width: parent.width
        title: Calibration.words.pastSweeps
        footnote: [Calibration.trend, Calibration.systemGap].filter(t => t.length > 0).join(" ")
        CapacityRuns {
            width: parent.width
            runs: Calibration.runs
        }
    }

    ConfirmDialog {
        id: confirmation
        objectName: "calibrationDialog"
        destructive: false
        title: Calibration.words.question
        message: Calibration.words.questionMessage
        cancelTitle: Calibration.words.cancel
        confirmTitle: Calibration.words.confirm
        onConfirmed: Calibration.start()
    }
}
