import QtQuick
import Torvel

// Where the user is in the first run: one stop per screen, the ones behind ticked, the current one in ember;
// a stop the user went past without doing it (the service, skipped) stays open, marked as still to do.
Row {
    id: rail
    property var stops: []
    property int current: -1
    // "Step 2 of 4: Service", as the model words it.
    property string spoken
    // One state a stop, as the model decides them: 0 ahead, 1 here, 2 passed, 3 still to do.
    property var states: []
    spacing: Ember.spaceSmall
    Accessible.role: Accessible.ProgressBar
    Accessible.name: spoken

    Repeater {
        model: rail.stops
        delegate: Row {
            required property string modelData
            required property int index
            readonly property int state: index < rail.states.length ? rail.states[index]
                                         : index === rail.current ? 1 : index < rail.current ? 2 : 0
            readonly property bool passed: state === 2
            readonly property bool here: state === 1
            readonly property bool toDo: state === 3
            spacing: Ember.spaceSmall
            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 20
                height: 20
                radius: 10
                color: here ? Ember.ember : passed ? Ember.toneFill(Looks.Accent)
                     : toDo ? Ember.toneFill(Looks.Todo) : Ember.well
                border.width: here ? 0 : 1
                border.color: passed ? Ember.toneBorder(Looks.Accent) : toDo ? Ember.toneBorder(Looks.Todo) : Ember.hair
                Glyph {
                    visible: passed
                    anchors.centerIn: parent
                    size: 11
                    lineWidth: 3
                    color: Ember.emberText
                    path: Glyphs.check
                }
                Text {
                    visible: !passed
                    anchors.centerIn: parent
                    text: toDo ? "!" : index + 1
                    font: Ember.words(Ember.micro, "bold")
                    color: here ? Ember.on : toDo ? Ember.toneText(Looks.Todo) : Ember.text3
                }
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: modelData
                font: Ember.words(Ember.body, here ? "semibold" : "medium")
                color: here ? Ember.text : toDo ? Ember.toneText(Looks.Todo) : Ember.text3
            }
            Rectangle {
                visible: index < rail.stops.length - 1
                anchors.verticalCenter: parent.verticalCenter
                width: 18
                height: 1
                color: passed ? Ember.ember : Ember.hair
            }
        }
    }
}
