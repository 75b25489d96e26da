import QtQuick
import Torvel

// The menu-bar panel: today's charge, the limit and its state, a few readings, the top-up and the footer.
Rectangle {
    id: panel
    width: 340
    implicitHeight: body.implicitHeight + 2 * padding
    color: Ember.screen
    readonly property real padding: Ember.spaceSection

    // The keyboard starts on the limit, the one thing a user comes to change; the ring waits for a key.
    function takeKeyboard() {
        gauge.quietFocus = true
        gauge.forceActiveFocus()
    }

    Column {
        id: body
        x: panel.padding
        y: panel.padding
        width: panel.width - 2 * panel.padding
        spacing: Ember.spaceSection

        Item {
            id: header
            width: parent.width
            height: Math.max(figures.implicitHeight, chip.implicitHeight)

            Column {
                id: figures
                width: parent.width - chip.width - 10
                spacing: Ember.spaceHair
                Row {
                    spacing: Ember.spaceHair
                    Text {
                        id: charge
                        // A machine without a readable battery shows a dash, never a made-up 0.
                        text: Panel.chargeKnown ? Panel.charge : "—"
                        font.family: Ember.words(Ember.heroLarge, "bold").family
                        font.weight: Font.Bold
                        font.pixelSize: 54
                        font.letterSpacing: -1.5
                        color: Panel.chargeKnown ? Ember.text : Ember.text3
                    }
                    Text {
                        anchors.baseline: charge.baseline
                        visible: Panel.chargeKnown
                        text: "%"
                        font: Ember.words(Ember.figure, "semibold")
                        color: Ember.text2
                    }
                }
                Text {
                    width: parent.width
                    text: Panel.line
                    elide: Text.ElideRight
                    font: Ember.words(Ember.lead, "semibold")
                    color: Ember.text2
                }
                Text {
                    width: parent.width
                    visible: Panel.help.length > 0
                    text: Panel.help
                    wrapMode: Text.WordWrap
                    font: Ember.words(Ember.body, "regular")
                    color: Ember.text3
                    topPadding: Ember.spaceTight
                }
            }
            StateChip {
                id: chip
                anchors.right: parent.right
                y: 10
                tone: Panel.toneLook
                word: Panel.toneWord
            }
        }

        ChargeGauge {
            id: gauge
            objectName: "gauge"
            width: parent.width
            charge: Panel.charge
            chargeKnown: Panel.chargeKnown
            limit: Panel.limit
            minimum: Panel.minimumLimit
            maximum: Panel.maximumLimit
            nativeMode: Panel.nativeMode
            words: Panel.words
            limitText: Panel.limitText
            onDragged: (value) => Panel.dragLimit(value)
            onReleased: Panel.commitLimit()
            onStepped: (delta) => Panel.stepLimit(delta)
        }

        ReadingsRow {
            width: parent.width
            visible: Panel.readings.length > 0
            readings: Panel.readings
        }

        Sparkline {
            width: parent.width
            visible: Panel.hasSparkline
            model: Panel.sparkline
            caption: Panel.words.lastDay
        }

        TopUpRow {
            width: parent.width
            on: Panel.topUp
            enabled: Panel.topUpEnabled
            help: Panel.topUpHelp
            title: Panel.words.topUp
            note: Panel.words.topUpOnce
            onToggled: (on) => Panel.setTopUp(on)
        }

        Rectangle {
            width: parent.width
            height: 1
            color: Ember.hair
        }

        PanelFooter {
            width: parent.width
            line: Panel.footerLine
            level: Panel.levelLook
            lineTone: Panel.footerLook
            fixTitle: Panel.fixTitle
            onFix: Panel.applyFix()
            versionLine: Panel.versionLine
            words: Panel.words
            onOpenSection: (section) => Panel.openSection(section)
            onQuit: Panel.quit()
        }
    }
}
