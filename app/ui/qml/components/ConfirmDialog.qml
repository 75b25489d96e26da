import QtQuick
import QtQuick.Controls
import Torvel

// A question before something that cannot be undone: a title, what will happen, Cancel and the action.
// Escape and a click outside are Cancel.
Popup {
    id: dialog
    property string title
    property string message
    property string confirmTitle
    property bool destructive: true
    signal confirmed()

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 440
    modal: true
    focus: true
    padding: 24
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle { color: Ember.shade }

    background: Surface {
        cornerRadius: 18
        color: Ember.screen
        border.width: 1
        border.color: Ember.ring
    }
    contentItem: Column {
        spacing: 10
        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.title
        Text {
            width: parent.width
            text: dialog.title
            wrapMode: Text.WordWrap
            font: Ember.words(17, "bold")
            color: Ember.text
        }
        Text {
            width: parent.width
            text: dialog.message
            wrapMode: Text.WordWrap
            lineHeight: 1.35
            font: Ember.words(13.5, "regular")
            color: Ember.text2
        }
        Item {
            width: parent.width
            height: buttons.height + 12
            Row {
                id: buttons
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                spacing: 10
                EmberButton {
                    objectName: "dialogCancel"
                    title: "Cancel"
                    defaultAction: true
                    focus: true
                    onClicked: dialog.close()
                }
                EmberButton {
                    objectName: "dialogConfirm"
                    title: dialog.confirmTitle
                    destructive: dialog.destructive
                    onClicked: {
                        dialog.close()
                        dialog.confirmed()
                    }
                }
            }
        }
    }
}
