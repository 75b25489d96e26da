import QtQuick
import Torvel

// A choice with advice: the caption, the segments, and the chosen option's help line under them.
Column {
    id: advice
    property string caption
    property var options: []
    property var selection
    property string help
    // The word beside the dot that marks the recommended option.
    property string recommendedWord
    signal picked(var value)

    readonly property bool hasRecommended: {
        for (let i = 0; i < options.length; ++i) if (options[i].recommended) return true
        return false
    }
    spacing: Ember.spaceBase

    Item {
        width: parent.width
        height: captionText.implicitHeight
        Text {
            id: captionText
            text: advice.caption
            font: Ember.words(Ember.body, "semibold")
            color: Ember.text2
        }
        RecommendedTag {
            word: advice.recommendedWord
            visible: advice.hasRecommended
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    EmberSegmented {
        width: parent.width
        enabled: advice.enabled
        accessibleName: advice.caption
        options: advice.options
        selection: advice.selection
        onPicked: (value) => advice.picked(value)
    }
    Text {
        width: parent.width
        text: advice.help
        wrapMode: Text.WordWrap
        lineHeight: 1.2
        font: Ember.words(Ember.body, "regular")
        color: Ember.text2
        opacity: advice.enabled ? 1 : 0.5
    }
}
