import QtQuick
import Torvel

// The last 24 hours under the readings: the charge against the limit, time on the charger as soft bands.
// Pointing at the line tells the time and the charge there.
Column {
    id: spark
    property ChartModel model
    property string caption
    spacing: Ember.spaceSmall

    Item {
        width: parent.width
        height: caption.implicitHeight
        Text {
            id: caption
            text: spark.caption
            font: Ember.words(Ember.caption, "medium")
            color: Ember.text3
        }
        Row {
            anchors.right: parent.right
            spacing: Ember.spaceSmall
            visible: spark.model && spark.model.selected
            Text {
                text: spark.model ? spark.model.selectedTime : ""
                font: Ember.words(Ember.caption, "medium")
                color: Ember.text3
            }
            Text {
                text: spark.model ? spark.model.selectedCharge : ""
                font: Ember.words(Ember.caption, "semibold")
                color: Ember.text
            }
        }
    }

    ChartView {
        width: parent.width
        height: 40
        model: spark.model
        ember: Ember
        sparkline: true
        Accessible.role: Accessible.Chart
        Accessible.name: caption.text
    }
}
