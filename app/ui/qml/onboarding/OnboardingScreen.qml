import QtQuick
import Torvel

// One screen of the first run: its art, its title and line, what it shows, and the actions the window's
// footer offers for it (the primary one also answers Return).
Column {
    id: screen
    property string glyph
    property bool flame: false
    property int tone: Looks.Accent
    property string title
    property string subtitle
    property string primaryTitle
    property bool primaryEnabled: true
    property string secondaryTitle
    signal primary()
    signal secondary()
    default property alias content: holder.data
    spacing: 0

    Rectangle {
        width: 56
        height: 56
        radius: 17
        color: Ember.toneFill(screen.tone)
        border.width: 1
        border.color: Ember.toneBorder(screen.tone)
        FlameMark {
            visible: screen.flame
            anchors.centerIn: parent
            size: 34
        }
        Glyph {
            visible: !screen.flame
            anchors.centerIn: parent
            size: 28
            lineWidth: 1.9
            color: Ember.toneText(screen.tone)
            path: screen.glyph
        }
    }
    Item { width: 1; height: 20 }
    PageHeader {
        width: parent.width
        title: screen.title
        subtitle: screen.subtitle
    }
    Column {
        id: holder
        width: parent.width
        spacing: Ember.spaceRoomy
    }
}
