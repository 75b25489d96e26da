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
    property string cancelTitle
    property bool destructive: true
    signal confirmed()

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 440
    modal: true
    focus: true
    padding: Ember.spacePage
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle { color: Ember.shade }

    background: Surface {
        cornerRadius: 18
        color: Ember.screen
        border.width: 1
        border.color: Ember.ring
    }
    contentItem: Column {
        spacing: Ember.spaceMedium
        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.title
        Text {
            width: parent.width
            text: dialog.title
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.headline, "bold")
            color: Ember.text
        }
        Text {
            width: parent.width
            text: dialog.message
            wrapMode: Text.WordWrap
            lineHeight: 1.35
            font: Ember.words(Ember.control, "regular")
            color: Ember.text2
        }
        Item {
            width: parent.width
            height: buttons.height + 12
            Row {
                id: buttons
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                spacing: Ember.spaceMedium
                EmberButton {
                    objectName: "dialogCancel"
                    title: dialog.cancelTitle
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
