import QtQuick
import Torvel

// One cell of a strip of small settings: symbol and title, the control, the help under them.
Item {
    id: cell
    property string glyph
    property string title
    property string help
    default property alias control: slot.data

    implicitHeight: body.implicitHeight + 36

    Column {
        id: body
        x: 18
        y: 18
        width: parent.width - 36
        spacing: Ember.spaceCozy
        Row {
            spacing: 9
            IconTile { glyph: cell.glyph; width: 26; height: 26; radius: 8 }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: cell.title
                font: Ember.words(Ember.lead, "semibold")
                color: Ember.text
            }
        }
        Item {
            id: slot
            width: parent.width
            height: childrenRect.height
        }
        Text {
            width: parent.width
            text: cell.help
            wrapMode: Text.WordWrap
            lineHeight: 1.4
            font: Ember.words(Ember.small, "regular")
            color: Ember.text3
        }
    }
}
