import QtQuick
import Torvel

// A word that opens an address: ember-coloured, underlined while the pointer is on it.
Text {
    id: link
    property string url
    font.family: Ember.words(Ember.label, "semibold").family
    font.weight: Font.Normal
    font.pixelSize: 13
    font.underline: pointer.containsMouse || activeFocus
    color: Ember.emberText
    activeFocusOnTab: true
    Accessible.role: Accessible.Link
    Accessible.name: text
    Accessible.onPressAction: Qt.openUrlExternally(url)
    Keys.onReturnPressed: Qt.openUrlExternally(url)
    Keys.onSpacePressed: Qt.openUrlExternally(url)

    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: Qt.openUrlExternally(link.url)
    }
}
