import QtQuick

// A view laid on a rounded fill; the radius and fill come from the caller, the colours from Ember.
Rectangle {
    property real cornerRadius: 14
    radius: cornerRadius
    antialiasing: true
}
