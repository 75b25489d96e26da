import QtQuick
import Torvel

// The title and one line of a page, as every section opens.
Column {
    property string title
    property string subtitle
    spacing: 5
    bottomPadding: Ember.spaceSection

    Text {
        width: parent.width
        text: parent.title
        font.family: Ember.words(Ember.figureLarge, "bold").family
        font.weight: Font.Bold
        font.pixelSize: 26
        font.letterSpacing: -0.6
        color: Ember.text
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Text {
        width: parent.width
        visible: text.length > 0
        text: parent.subtitle
        wrapMode: Text.WordWrap
        font: Ember.words(Ember.lead, "regular")
        color: Ember.text2
    }
}
