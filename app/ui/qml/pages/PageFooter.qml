import QtQuick
import Torvel

// The quiet end of a page: one line in the tertiary colour and a few links under it, centred.
Column {
    id: footer
    property string note
    // Each link: { label, url }.
    property var links: []
    spacing: Ember.spaceBase
    topPadding: Ember.spaceCozy

    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: footer.note
        wrapMode: Text.WordWrap
        font: Ember.words(Ember.body, "regular")
        color: Ember.text3
    }
    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Ember.spaceSection
        Repeater {
            model: footer.links
            delegate: TextLink {
                required property var modelData
                text: modelData.label
                url: modelData.url
            }
        }
    }
}
