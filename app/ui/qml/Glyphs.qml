pragma Singleton
import QtQuick

// The few symbols the panel uses, drawn for Torvel on a 24-unit grid.
QtObject {
    readonly property string bolt: "M13.5 2.5 L5 13.5 H11 L10 21.5 L19 10 H13 Z"
    readonly property string laptop: "M5 5.5 H19 A1 1 0 0 1 20 6.5 V15.5 H4 V6.5 A1 1 0 0 1 5 5.5 Z M2 18.5 H22"
    readonly property string chart: "M3.5 3.5 V20.5 H20.5 M7 15 L11 10.5 L14 13 L19.5 6.5"
    readonly property string sliders: "M4 7 H14 M18 7 H20 M16 4.5 V9.5 M4 17 H7 M11 17 H20 M9 14.5 V19.5"
    readonly property string power: "M12 3 V11.5 M7.2 6.2 A7.5 7.5 0 1 0 16.8 6.2"
    // The flame, outer shape and inner tongue, on a 100-unit grid.
    readonly property string flame: "M50 3 C57 20 82 34 82 62 C82 83 67 97 50 97 C33 97 18 83 18 62 C18 46 27 36 35 26 C37 38 41 45 47 48 C44 32 45 17 50 3 Z"
    readonly property string flameInner: "M51 50 C58 59 67 66 67 77 C67 87 60 93 51 93 C42 93 35 87 35 78 C35 68 45 62 51 50 Z"
}
