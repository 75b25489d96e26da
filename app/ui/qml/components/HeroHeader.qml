import QtQuick
import Torvel

// A page that opens with an answer: a large headline, the line that says why, and under them what to do
// about it.
Column {
    id: head
    property string headline
    property string subline
    default property alias actions: slot.data
    spacing: Ember.spaceBase
    bottomPadding: Ember.spacePage

    Text {
        width: parent.width
        text: head.headline
        wrapMode: Text.WordWrap
        font.family: Ember.words(Ember.display, "bold").family
        font.weight: Font.Bold
        font.pixelSize: 30
        font.letterSpacing: -0.8
        color: Ember.text
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Text {
        width: Math.min(parent.width, 580)
        visible: text.length > 0
        text: head.subline
        wrapMode: Text.WordWrap
        lineHeight: 1.3
        font: Ember.words(Ember.title, "regular")
        color: Ember.text2
    }
    Column {
        id: slot
        width: parent.width
        topPadding: Ember.spaceMedium
        spacing: Ember.spaceCozy
        visible: visibleChildren.length > 0
    }
}
