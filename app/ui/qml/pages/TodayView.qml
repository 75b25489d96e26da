import QtQuick
import Torvel

// The "Today" section: the day's verdict and sentence, its figures over the whole day's chart, what stood
// out, and where the battery's health is heading.
Column {
    id: page
    spacing: Ember.spaceRoomy

    Component.onCompleted: History.startTicking()

    HeroHeader {
        width: parent.width
        headline: JournalPage.todayHeadline
        subline: JournalPage.todaySummary
    }

    SettingsCard {
        objectName: "todayChartCard"
        width: parent.width
        title: JournalPage.todayTitle
        Column {
            width: parent.width
            spacing: Ember.spaceLarge
            ReadingsRow {
                width: parent.width
                visible: !JournalPage.todayYoung
                readings: JournalPage.todayFigures
            }
            RowDivider { inset: 0; visible: !JournalPage.todayYoung }
            JournalChart {
                objectName: "todayChart"
                width: parent.width
                height: 280
                model: History.todayChart
            }
        }
    }

    SectionHead { text: JournalPage.todayYoung ? "" : JournalPage.words.whatStoodOut; visible: text.length > 0 }
    InsightList {
        width: parent.width
        insights: JournalPage.insights
    }

    NoteCard {
        visible: JournalPage.projectionTitle.length > 0
        width: parent.width
        tone: Looks.Todo
        icon: Glyphs.sparkles
        title: JournalPage.projectionTitle
        text: JournalPage.projectionBody
    }
}
