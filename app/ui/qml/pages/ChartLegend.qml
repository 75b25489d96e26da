import QtQuick
import Torvel

// What each mark of a journal chart is, in the marks' own colours: the charge, the user's limit, the
// temperature, the heat limit and the plugged-in bands.
Flow {
    id: legend
    property int limit: 0
    property int thermalLimit: 0
    // The chart model's legend words.
    property var words: ({})
    spacing: Ember.spaceSection

    component Key: Row {
        id: key
        property string label
        property color colour
        // "solid", "dashed", "dotted" or "band"
        property string kind: "solid"
        spacing: Ember.spaceSmall
        Item {
            width: 18
            height: 12
            anchors.verticalCenter: parent.verticalCenter
            Rectangle {
                visible: key.kind === "band"
                anchors.fill: parent
                radius: 3
                color: key.colour
                border.width: 1
                border.color: Ember.hair
            }
            Row {
                visible: key.kind !== "band"
                anchors.verticalCenter: parent.verticalCenter
                spacing: key.kind === "solid" ? 0 : key.kind === "dashed" ? 3 : 2
                Repeater {
                    model: key.kind === "solid" ? 1 : key.kind === "dashed" ? 3 : 5
                    delegate: Rectangle {
                        width: key.kind === "solid" ? 18 : key.kind === "dashed" ? 4 : 2
                        height: key.kind === "solid" ? 2 : 1.5
                        color: key.colour
                    }
                }
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: key.label
            font: Ember.words(Ember.caption, "medium")
            color: Ember.text3
        }
    }

    Key { label: legend.words.charge || ""; colour: Ember.ember }
    Key { visible: legend.limit > 0; label: legend.words.limit || ""; colour: Ember.ember; kind: "dashed" }
    Key { label: legend.words.temperature || ""; colour: Ember.text3 }
    Key { label: legend.words.heatLimit || ""; colour: Ember.stop; kind: "dotted" }
    Key { label: legend.words.plugged || ""; colour: Ember.zone; kind: "band" }
}
