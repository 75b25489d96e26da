import QtQuick
import Torvel

// The sweeps' measurements, newest first: when, what the cells held and its share of the design capacity.
Column {
    id: list
    property var runs: []

    Repeater {
        model: list.runs
        delegate: Column {
            required property var modelData
            required property int index
            width: list.width
            RowDivider { inset: 0; visible: index > 0 }
            InfoRow {
                width: parent.width
                label: modelData.date
                value: modelData.measured
            }
        }
    }
}
