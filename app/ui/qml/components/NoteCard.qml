import QtQuick
import Torvel

// A note across the page: a symbol, a title and a sentence, tinted by its tone.
Rectangle {
    id: note
    property string icon: Glyphs.info
    property int tone: Looks.Quiet
    property string title
    property string text

    implicitHeight: body.implicitHeight + 28
    radius: 14
    color: Ember.toneFill(tone)
    border.width: 1
    border.color: Ember.toneBorder(tone)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: title.length > 0 ? title + ". " + text : text

    Glyph {
        id: mark
        x: 16
        y: 15
        size: 16
        lineWidth: 2.2
        color: Ember.toneText(note.tone)
        path: note.icon
    }
    Column {
        id: body
        x: 44
        y: 14
        width: note.width - x - 16
        spacing: Ember.spaceHair
        Text {
            width: parent.width
            visible: note.title.length > 0
            text: note.title
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.subhead, "semibold")
            color: Ember.text
        }
        Text {
            width: parent.width
            visible: note.text.length > 0
            text: note.text
            wrapMode: Text.WordWrap
            lineHeight: 1.2
            font: Ember.words(Ember.label, "regular")
            color: Ember.text2
        }
    }
}
