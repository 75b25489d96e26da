import QtQuick
import Torvel

// The head of a group of cards on a page.
Text {
    topPadding: Ember.spaceMedium
    font: Ember.words(Ember.headline, "bold")
    color: Ember.text
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
