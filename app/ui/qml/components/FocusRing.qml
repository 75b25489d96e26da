import QtQuick
import Torvel

// The keyboard focus outline every control shares: an ember ring just outside the control.
Rectangle {
    property Item target
    anchors.fill: parent
    anchors.margins: -3
    radius: 10
    color: "transparent"
    border.width: 2
    border.color: Qt.rgba(Ember.ember.r, Ember.ember.g, Ember.ember.b, 0.55)
    visible: target !== null && target.activeFocus
}
