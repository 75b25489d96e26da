import QtQuick
import Torvel

// Up to four small figures divided by hairlines; a figure that cannot be read is left out, not shown empty.
Row {
    id: row
    property var readings: []
    readonly property real cellWidth: readings.length > 0
        ? (width - (readings.length - 1)) / readings.length : width

    Repeater {
        model: row.readings
        delegate: Row {
            required property var modelData
            required property int index
            Rectangle {
                visible: index > 0
                width: 1
                height: 34
                anchors.verticalCenter: parent.verticalCenter
                color: Ember.hair
            }
            Column {
                width: row.cellWidth
                spacing: 3
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: modelData.value
                    font: Ember.words(Ember.heading, "semibold")
                    color: Ember.text
                }
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: modelData.caption
                    font: Ember.words(Ember.caption, "medium")
                    color: Ember.text3
                }
            }
        }
    }
}
