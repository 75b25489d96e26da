import QtQuick
import Torvel

// The "Long memory" section: a day, a week, a month or the last year of the journal, in a verdict, a chart
// and its figures; where health is heading, and what the sweeps measured over time.
Column {
    id: page
    spacing: Ember.spaceRoomy

    Component.onCompleted: History.startTicking()

    HeroHeader {
        width: parent.width
        headline: JournalPage.rangeHeadline
        subline: JournalPage.rangeCaption

        EmberSegmented {
            objectName: "rangePicker"
            width: Math.min(parent.width, 380)
            accessibleName: JournalPage.words.range
            options: JournalPage.ranges
            selection: History.range
            onPicked: (value) => History.range = value
        }
    }

    SettingsCard {
        objectName: "rangeChartCard"
        width: parent.width
        JournalChart {
            objectName: "rangeChart"
            width: parent.width
            height: 280
            model: History.rangeChart
        }
    }

    SettingsCard {
        width: parent.width
        title: JournalPage.words.inFigures
        footnote: JournalPage.rangeYoung
                  ? JournalPage.words.figuresSoon : JournalPage.words.figuresSource
        Column {
            width: parent.width
            Repeater {
                model: JournalPage.rangeFigures
                delegate: Column {
                    required property var modelData
                    width: parent.width
                    InfoRow { width: parent.width; label: modelData.label; value: modelData.value }
                    RowDivider { inset: 0 }
                }
            }
            InfoRow { width: parent.width; label: JournalPage.words.daysRecorded; value: JournalPage.daysRecorded }
        }
    }

    NoteCard {
        visible: JournalPage.projectionTitle.length > 0
        width: parent.width
        tone: Looks.Todo
        icon: Glyphs.sparkles
        title: JournalPage.projectionTitle
        text: JournalPage.projectionBody
    }

    SettingsCard {
        visible: Calibration.runs.length > 0
        width: parent.width
        title: JournalPage.words.measuredCapacity
        footnote: Calibration.trend
        CapacityRuns {
            width: parent.width
            runs: Calibration.runs
        }
    }
}
