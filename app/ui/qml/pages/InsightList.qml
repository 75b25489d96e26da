import QtQuick
import Torvel

// The journal's insight cards, each a note in its own tone. The icon names are the analysis' own; they map
// to Torvel's symbols here.
Column {
    id: list
    property var insights: []
    spacing: Ember.spaceMedium

    readonly property var glyphs: ({
        "clock.arrow.circlepath": Glyphs.clock,
        "checkmark.circle.fill": Glyphs.check,
        "exclamationmark.triangle.fill": Glyphs.warning,
        "thermometer.medium": Glyphs.thermometer,
        "arrow.triangle.2.circlepath": Glyphs.cycle,
        "leaf.fill": Glyphs.leaf,
        "sparkles": Glyphs.sparkles
    })

    Repeater {
        model: list.insights
        delegate: NoteCard {
            required property var modelData
            width: list.width
            icon: list.glyphs[modelData.icon] || Glyphs.info
            tone: modelData.tone
            title: modelData.title
            text: modelData.body
        }
    }
}
