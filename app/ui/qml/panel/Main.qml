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
    title: popup ? Route.product : Route.panelReviewTitle
    // A window the window manager gives the keyboard to, drawn without a frame above the others: an X11
    // popup is never given input focus, so its keys and its closing on focus loss would never work.
    flags: popup ? (Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint) : Qt.Window
    // A popup goes away when the user turns to something else (a click outside takes the focus with it), as
    // a menu does.
    onActiveChanged: {
        if (popup && !active) visible = false
        if (popup && active) panel.takeKeyboard()
    }

    GaugePanel {
        id: panel
        focus: true
        Keys.onEscapePressed: if (window.popup) window.visible = false
    }
}
