import QtQuick
import Torvel

// How far a long task has come: an ember fill on a recessed track. Without a known fraction the track
// stays empty rather than guessing.
Rectangle {
    id: track
    property real value: 0
    property bool known: true
    // The fraction as a screen reader says it, "40%", from the model.
    property string valueText
    implicitHeight: 8
    radius: height / 2
    color: Ember.track
    Accessible.role: Accessible.ProgressBar
    Accessible.name: known ? valueText : ""

    Rectangle {
        visible: track.known
        height: parent.height
        radius: parent.radius
        width: Math.max(height, parent.width * Math.max(0, Math.min(1, track.value)))
        color: Ember.ember
    }
}
