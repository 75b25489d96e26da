import QtQuick
import Torvel

// A titled card on the page surface, with an optional footnote under it. Rows set `inset` to 0 and carry
// their own padding.
Column {
    id: card
    property string title
    property string footnote
    property real inset: 18
    default property alias content: holder.data
    spacing: Ember.spaceBase

    Text {
        visible: card.title.length > 0
        leftPadding: Ember.spaceTight
        text: card.title
        font: Ember.words(Ember.label, "semibold")
        color: Ember.text2
    }
    Surface {
        width: card.width
        height: holder.childrenRect.height + 2 * card.inset
        color: Ember.screen
        border.width: 1
        border.color: Ember.ring
        Item {
            id: holder
            x: card.inset
            y: card.inset
            width: parent.width - 2 * card.inset
            height: childrenRect.height
        }
    }
    Text {
        visible: card.footnote.length > 0
        width: card.width
        leftPadding: Ember.spaceTight
        rightPadding: Ember.spaceTight
        text: card.footnote
        wrapMode: Text.WordWrap
        lineHeight: 1.5
        font: Ember.words(Ember.body, "regular")
        color: Ember.text3
    }
}
