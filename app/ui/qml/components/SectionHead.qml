import QtQuick
import Torvel

// The head of a group of cards on a page.
Text {
    topPadding: 10
    font: Ember.words(17, "bold")
    color: Ember.text
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
