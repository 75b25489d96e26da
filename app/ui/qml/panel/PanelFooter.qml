import QtQuick
import Torvel

// The health of the installation and the ways into the main window.
Column {
    id: footer
    property string line
    property int level: Looks.Good
    property int lineTone: Looks.Quiet
    property string fixTitle
    property string versionLine
    property var words: ({})
    signal openSection(string section)
    signal fix()
    signal quit()

    readonly property color levelColour: Ember.toneColor(level)
    spacing: Ember.spaceCozy

    Item {
        width: parent.width
        height: 30

        Row {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            spacing: Ember.spaceBase
            Rectangle {
                width: 7; height: 7; radius: 3.5
                anchors.verticalCenter: parent.verticalCenter
                color: footer.levelColour
            }
            // With a fix to offer, the line itself leads to the page where it is done.
            Text {
                id: fixLine
                text: footer.line
                font: Ember.words(Ember.label, "semibold")
                color: fixPointer.containsMouse || activeFocus ? Ember.text : Ember.toneText(footer.lineTone)
                activeFocusOnTab: footer.fixTitle.length > 0
                Keys.onSpacePressed: footer.fix()
                Keys.onReturnPressed: footer.fix()
                FocusRing { target: fixLine; radius: 6 }
                Accessible.role: footer.fixTitle.length > 0 ? Accessible.Button : Accessible.StaticText
                Accessible.name: footer.fixTitle.length > 0 ? footer.fixTitle : footer.line
                Accessible.onPressAction: footer.fix()
                MouseArea {
                    id: fixPointer
                    anchors.fill: parent
                    enabled: footer.fixTitle.length > 0
                    hoverEnabled: true
                    cursorShape: Qt.PointingHandCursor
                    onClicked: footer.fix()
                }
            }
        }

        // The installation's own page, with the checkup's colour.
        Rectangle {
            id: thisMac
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            height: 28
            width: macRow.implicitWidth + 22
            radius: height / 2
            color: macPointer.containsMouse || activeFocus ? Ember.raised : Ember.well
            activeFocusOnTab: true
            Keys.onSpacePressed: footer.openSection("mac")
            Keys.onReturnPressed: footer.openSection("mac")
            border.width: 1
            border.color: macPointer.containsMouse ? Ember.text3 : Ember.hair
            Accessible.role: Accessible.Button
            Accessible.name: footer.words.mac
            Accessible.onPressAction: footer.openSection("mac")

            Row {
                id: macRow
                anchors.centerIn: parent
                spacing: Ember.spaceSmall
                Glyph {
                    size: 14
                    lineWidth: 2
                    color: Ember.text2
                    path: Glyphs.laptop
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    text: footer.words.mac
                    font: Ember.words(Ember.body, "semibold")
                    color: Ember.text
                    anchors.verticalCenter: parent.verticalCenter
                }
                Rectangle {
                    width: 7; height: 7; radius: 3.5
                    color: footer.levelColour
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
            MouseArea {
                id: macPointer
                anchors.fill: parent
                hoverEnabled: true
                cursorShape: Qt.PointingHandCursor
                onClicked: footer.openSection("mac")
            }
            FocusRing { target: thisMac; radius: thisMac.radius + 3 }
        }
    }

    Item {
        width: parent.width
        height: 26

        Row {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            spacing: Ember.spaceSmall
            FlameMark {
                size: 14
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: footer.versionLine
                font: Ember.words(Ember.small, "medium")
                color: Ember.text3
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Row {
            anchors.right: parent.right
            spacing: Ember.spaceBase
            PanelIconButton { glyph: Glyphs.chart; word: footer.words.today; onClicked: footer.openSection("today") }
            PanelIconButton { glyph: Glyphs.sliders; word: footer.words.settings; onClicked: footer.openSection("settings") }
            PanelIconButton { glyph: Glyphs.power; word: footer.words.quit; onClicked: footer.quit() }
        }
    }
}
