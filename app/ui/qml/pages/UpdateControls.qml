import QtQuick
import Torvel

// The updater where a page offers it: the automatic switch, the check and the install, and what the last of
// them said. A page whose row already carries the check leaves it out here.
Column {
    id: controls
    property bool showsCheck: true
    readonly property bool offersInstall: Updater.canInstall || Updater.installing
    spacing: Ember.spaceBase

    Row {
        spacing: Ember.spaceBase
        EmberSwitch {
            objectName: "automaticUpdates"
            anchors.verticalCenter: parent.verticalCenter
            accessibleName: Updater.automaticLabel
            checked: Updater.automatic
            onToggled: (on) => Updater.automatic = on
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: Updater.automaticLabel
            font: Ember.words(Ember.body, "medium")
            color: Ember.text2
        }
    }
    Row {
        spacing: Ember.spaceBase
        visible: controls.showsCheck || controls.offersInstall
        EmberButton {
            objectName: "checkUpdates"
            visible: controls.showsCheck
            title: Updater.checkTitle
            enabled: !Updater.checking && !Updater.installing
            onClicked: Updater.checkNow()
        }
        EmberButton {
            objectName: "installUpdate"
            visible: controls.offersInstall
            prominent: true
            title: Updater.installTitle
            enabled: Updater.canInstall
            onClicked: Updater.install()
        }
    }
    Text {
        width: parent.width
        text: Updater.status
        wrapMode: Text.WordWrap
        font: Ember.words(Ember.body, "medium")
        color: Ember.text2
    }
    Text {
        width: parent.width
        visible: text.length > 0
        text: Updater.note
        wrapMode: Text.WordWrap
        font: Ember.words(Ember.body, "medium")
        color: Ember.text
    }
    Column {
        width: parent.width
        visible: Updater.error.length > 0
        spacing: Ember.spaceHair
        Text {
            width: parent.width
            text: Updater.error
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.small, "medium")
            color: Ember.danger
        }
        Text {
            width: parent.width
            visible: text.length > 0
            text: Updater.errorDetail
            wrapMode: Text.WordWrap
            font: Ember.words(Ember.caption, "regular")
            color: Ember.text3
        }
    }
}
