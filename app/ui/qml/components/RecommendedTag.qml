import QtQuick
import Torvel

// The legend of the ember dot that marks the recommended option of a choice.
Row {
    property string word
    spacing: 5
    Rectangle {
        width: 6; height: 6; radius: 3
        anchors.verticalCenter: parent.verticalCenter
        color: Ember.ember
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        text: parent.word
        font: Ember.words(Ember.caption, "medium")
        color: Ember.text3
    }
}
