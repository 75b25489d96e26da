import QtQuick
import Torvel

// A card that folds: the header row opens and closes it, the chevron turning a quarter as it does.
Surface {
    id: card
    property string title
    property bool startsOpen: false
    property bool open: startsOpen
    default property alias content: holder.data

    color: Ember.screen
    border.width: 1
    border.color: Ember.ring
    height: header.height + (open ? holder.childrenRect.height + 18 : 0)
    clip: true
    Behavior on height { NumberAnimation { duration: 180 * Ember.motion; easing.type: Easing.InOutQuad } }

    Item {
        id: header
        width: parent.width
        height: 50
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
        Accessible.name: card.title
        Accessible.onPressAction: card.open = !card.open
        Keys.onSpacePressed: card.open = !card.open
        Keys.onReturnPressed: card.open = !card.open

        Text {
            x: 18
            anchors.verticalCenter: parent.verticalCenter
            text: card.title
            font: Ember.words(Ember.title, "semibold")
            color: Ember.text
        }
        Glyph {
            anchors.right: parent.right
            anchors.rightMargin: Ember.spaceSection
            anchors.verticalCenter: parent.verticalCenter
            size: 11
            lineWidth: 3
            color: Ember.text2
            path: Glyphs.chevronRight
            rotation: card.open ? 90 : 0
            Behavior on rotation { NumberAnimation { duration: 180 * Ember.motion; easing.type: Easing.InOutQuad } }
        }
        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: card.open = !card.open
        }
        FocusRing { target: header; radius: 14 }
    }
    Item {
        id: holder
        x: 18
        y: header.height
        width: parent.width - 36
        height: childrenRect.height
        visible: card.open
    }
}
