import QtQuick
import QtQuick.Window
import Torvel

// The panel's window: a frameless popup by the tray icon, or an ordinary window for review.
Window {
    id: window
    property bool popup: false
    width: panel.width
    height: panel.implicitHeight
    minimumWidth: panel.width
    maximumWidth: panel.width
    minimumHeight: panel.implicitHeight
    maximumHeight: panel.implicitHeight
    color: Ember.screen
    title: popup ? "Torvel" : "Panel (review)"
    flags: popup ? (Qt.Popup | Qt.FramelessWindowHint) : Qt.Window
    // A popup goes away when the user turns to something else, as a menu does.
    onActiveChanged: if (popup && !active) visible = false

    GaugePanel {
        id: panel
    }
}
