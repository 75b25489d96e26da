import QtQuick
import Torvel

// A chart that is read closely: the plot, the charge scale on the left and the temperature's on the right,
// hours or days along the bottom, and above it the reading under the pointer or the arrow keys. The model
// decides every mark; this only places.
Item {
    id: chart
    property ChartModel model
    readonly property real scaleWidth: 38
    implicitHeight: 270

    Row {
        id: readout
        x: chart.scaleWidth
        height: 20
        spacing: Ember.spaceMedium
        opacity: chart.model && chart.model.selected ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: 120 * Ember.motion } }
        Text {
            text: chart.model ? chart.model.selectedTime : ""
            font: Ember.words(Ember.body, "medium")
            color: Ember.text2
            anchors.baseline: charge.baseline
        }
        Text {
            id: charge
            text: chart.model ? chart.model.selectedCharge : ""
            font: Ember.words(Ember.title, "semibold")
            color: Ember.text
        }
        Text {
            visible: text.length > 0
            text: chart.model ? chart.model.selectedTemperature : ""
            font: Ember.words(Ember.body, "medium")
            color: Ember.text3
            anchors.baseline: charge.baseline
        }
    }

    ChartView {
        id: plot
        x: chart.scaleWidth
        y: readout.height + 8
        width: chart.width - 2 * chart.scaleWidth
        height: chart.height - y - 24 - legend.height - 10
        model: chart.model
        ember: Ember
        // Tab reaches the chart; the arrow keys then step through its readings.
        FocusRing { target: plot; radius: 6 }
        Accessible.role: Accessible.Chart
        Accessible.name: chart.model && chart.model.selected
                         ? chart.model.selectedTime + ", " + chart.model.selectedCharge : ""
    }

    Repeater {
        model: chart.model ? chart.model.chargeTicks : []
        delegate: Text {
            required property var modelData
            width: chart.scaleWidth - 8
            horizontalAlignment: Text.AlignRight
            y: plot.y + (1 - modelData.at) * plot.height - height / 2
            text: modelData.label
            font: Ember.words(Ember.micro, "medium")
            color: Ember.text3
        }
    }

    // The temperature's own scale, in its lane under the charge, on the side the charge's is not.
    Repeater {
        model: chart.model ? chart.model.temperatureTicks : []
        delegate: Text {
            required property var modelData
            x: plot.x + plot.width + 6
            y: plot.y + (1 - modelData.at) * plot.height - height / 2
            text: modelData.label
            font: Ember.words(Ember.micro, "medium")
            color: Ember.text3
        }
    }

    Repeater {
        model: chart.model ? chart.model.timeTicks : []
        delegate: Text {
            required property var modelData
            // Centred where the model places it, kept inside the plot at either end.
            x: plot.x + Math.max(0, Math.min(plot.width - width, modelData.labelAt * plot.width - width / 2))
            y: plot.y + plot.height + 6
            text: modelData.label
            font: Ember.words(Ember.micro, "medium")
            color: Ember.text3
        }
    }

    ChartLegend {
        id: legend
        x: chart.scaleWidth
        y: plot.y + plot.height + 28
        width: plot.width
        limit: chart.model ? chart.model.limit : 0
        thermalLimit: chart.model ? chart.model.thermalLimit : 0
        words: chart.model ? chart.model.legend : ({})
    }
}
