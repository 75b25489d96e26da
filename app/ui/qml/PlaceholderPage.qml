import QtQuick
import Torvel

// A section whose page is still being drawn: its header, and one card that says what will live here.
Column {
    id: page
    property string title
    property string subtitle
    property string glyph: Glyphs.info
    property string cardTitle
    property string cardText
    spacing: 0

    PageHeader {
        width: parent.width
        title: page.title
        subtitle: page.subtitle
    }
    SettingsCard {
        width: parent.width
        inset: 28
        Row {
            width: parent.width
            spacing: 18
            Rectangle {
                width: 44; height: 44; radius: 13
                color: Ember.toneFill(Looks.Accent)
                Glyph {
                    anchors.centerIn: parent
                    size: 22
                    lineWidth: 2
                    color: Ember.emberText
                    path: page.glyph
                }
            }
            Column {
                width: parent.width - 62
                spacing: 5
                Text {
                    width: parent.width
                    text: page.cardTitle
                    wrapMode: Text.WordWrap
                    font: Ember.words(16, "semibold")
                    color: Ember.text
                }
                Text {
                    width: parent.width
                    text: page.cardText
                    wrapMode: Text.WordWrap
                    lineHeight: 1.35
                    font: Ember.words(13.5, "regular")
                    color: Ember.text2
                }
            }
        }
    }
}
