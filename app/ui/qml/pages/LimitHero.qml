import QtQuick
import Torvel

// The limit card: the switch, the figure, the resting bar, the two choices and the footnote.
Surface {
    id: hero
    color: Ember.screen
    border.width: 1
    border.color: Ember.ring
    cornerRadius: 18
    implicitHeight: body.implicitHeight + 44

    Column {
        id: body
        x: 22
        y: 22
        width: parent.width - 44
        spacing: Ember.spaceSection

        Item {
            width: parent.width
            height: 30
            Row {
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceMedium
                IconTile { glyph: Glyphs.bolt; filled: true; anchors.verticalCenter: parent.verticalCenter }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: SettingsPage.words.chargeLimit
                    font: Ember.words(Ember.title, "semibold")
                    color: Ember.text
                }
            }
            Row {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                spacing: Ember.spaceMedium
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: SettingsPage.words.limitCharging
                    font: Ember.words(Ember.label, "medium")
                    color: Ember.text2
                }
                EmberSwitch {
                    anchors.verticalCenter: parent.verticalCenter
                    accessibleName: SettingsPage.words.limitCharging
                    checked: SettingsPage.limitOn
                    enabled: SettingsPage.canReachService
                    onToggled: (on) => SettingsPage.setLimitOn(on)
                }
            }
        }

        Item {
            width: parent.width
            height: SettingsPage.limitOn ? figure.height : off.implicitHeight
            Row {
                id: figure
                visible: SettingsPage.limitOn
                spacing: 3
                RollingDigits {
                    id: number
                    value: SettingsPage.limit
                    font.family: Ember.words(Ember.hero, "bold").family
                    font.weight: Font.Bold
                    font.pixelSize: 44
                    font.letterSpacing: -0.8
                    color: Ember.text
                }
                Text {
                    anchors.baseline: number.bottom
                    anchors.baselineOffset: -10
                    text: "%"
                    font: Ember.words(Ember.figure, "semibold")
                    color: Ember.text2
                }
            }
            Column {
                visible: SettingsPage.limitOn
                anchors.right: parent.right
                anchors.verticalCenter: figure.verticalCenter
                spacing: Ember.spaceHair
                Text {
                    anchors.right: parent.right
                    text: SettingsPage.profileLine
                    font: Ember.words(Ember.subhead, "semibold")
                    color: Ember.text
                }
                Text {
                    anchors.right: parent.right
                    text: SettingsPage.restLine
                    font: Ember.words(Ember.body, "regular")
                    color: Ember.text2
                }
            }
            Column {
                id: off
                visible: !SettingsPage.limitOn
                spacing: Ember.spaceTight
                Text {
                    text: SettingsPage.words.limitOffTitle
                    font: Ember.words(Ember.figureLarge, "bold")
                    color: Ember.text
                }
                Text {
                    text: SettingsPage.words.limitOffText
                    font: Ember.words(Ember.label, "regular")
                    color: Ember.text2
                }
            }
        }

        RestingBar {
            width: parent.width
            enabled: SettingsPage.limitOn
            limit: SettingsPage.limit
            rest: SettingsPage.restLevel
            lowest: SettingsPage.lowestLimit
            nativeMode: SettingsPage.nativeMode
            name: SettingsPage.words.chargeLimit
            limitText: SettingsPage.limitText
            span: SettingsPage.restingSpan
            lowText: SettingsPage.words.scaleLow
            highText: SettingsPage.words.scaleHigh
            nativeRange: SettingsPage.words.nativeRange
            onDragged: (value) => SettingsPage.dragLimit(value)
            onReleased: SettingsPage.commitLimit()
            onStepped: (steps) => SettingsPage.stepLimit(steps)
        }

        Row {
            width: parent.width
            spacing: 22
            enabled: SettingsPage.limitOn
            AdviceSegmented {
                recommendedWord: SettingsPage.words.recommended
                width: (parent.width - parent.spacing) / 2
                caption: SettingsPage.words.profile
                options: SettingsPage.profileOptions
                selection: SettingsPage.limit
                help: SettingsPage.profileHelp
                onPicked: (value) => SettingsPage.chooseProfile(value)
            }
            AdviceSegmented {
                recommendedWord: SettingsPage.words.recommended
                width: (parent.width - parent.spacing) / 2
                caption: SettingsPage.words.restingRange
                options: SettingsPage.restingOptions
                selection: SettingsPage.hysteresis
                help: SettingsPage.restingHelp
                onPicked: (value) => SettingsPage.setHysteresis(value)
            }
        }

        Rectangle { visible: notes.visible; width: parent.width; height: 1; color: Ember.hair }

        Column {
            id: notes
            visible: SettingsPage.limitFootnote.length > 0 || SettingsPage.nativeNote.length > 0
            width: parent.width
            spacing: Ember.spaceBase
            Text {
                width: parent.width
                visible: text.length > 0
                text: SettingsPage.limitFootnote
                wrapMode: Text.WordWrap
                lineHeight: 1.3
                font: Ember.words(Ember.body, "regular")
                color: Ember.text3
            }
            Row {
                visible: SettingsPage.nativeNote.length > 0
                width: parent.width
                spacing: 7
                Glyph { size: 13; lineWidth: 2.2; color: Ember.text2; path: Glyphs.info }
                Text {
                    width: parent.width - 20
                    text: SettingsPage.nativeNote
                    wrapMode: Text.WordWrap
                    font: Ember.words(Ember.body, "medium")
                    color: Ember.text2
                }
            }
        }
    }
}
