pragma Singleton
import QtQuick

// The symbols the panel and the pages use, drawn for Torvel on a 24-unit grid.
QtObject {
    readonly property string bolt: "M13.5 2.5 L5 13.5 H11 L10 21.5 L19 10 H13 Z"
    readonly property string laptop: "M5 5.5 H19 A1 1 0 0 1 20 6.5 V15.5 H4 V6.5 A1 1 0 0 1 5 5.5 Z M2 18.5 H22"
    readonly property string chart: "M3.5 3.5 V20.5 H20.5 M7 15 L11 10.5 L14 13 L19.5 6.5"
    readonly property string sliders: "M4 7 H14 M18 7 H20 M16 4.5 V9.5 M4 17 H7 M11 17 H20 M9 14.5 V19.5"
    readonly property string power: "M12 3 V11.5 M7.2 6.2 A7.5 7.5 0 1 0 16.8 6.2"
    readonly property string lock: "M6.5 10.5 H17.5 A1.5 1.5 0 0 1 19 12 V19.5 A1.5 1.5 0 0 1 17.5 21 H6.5 A1.5 1.5 0 0 1 5 19.5 V12 A1.5 1.5 0 0 1 6.5 10.5 Z M8 10.5 V7.5 A4 4 0 0 1 16 7.5 V10.5"
    readonly property string thermometer: "M10 4.5 A2 2 0 0 1 14 4.5 V13.8 A4 4 0 1 1 10 13.8 Z M12 9 V16.5"
    readonly property string lightbulb: "M9 17.5 H15 M10 21 H14 M9 17.5 C9 14.5 6 13 6 9.5 A6 6 0 0 1 18 9.5 C18 13 15 14.5 15 17.5"
    readonly property string boltCircle: "M12 2.8 A9.2 9.2 0 1 1 11.99 2.8 Z M13 6.5 L8.5 12.8 H12 L11 17.5 L15.5 11.2 H12 Z"
    readonly property string clock: "M4.5 12 A7.5 7.5 0 1 0 7 6.4 M3.5 4 V8 H7.5 M12 8 V12 L14.8 14"
    readonly property string enter: "M9 4.5 H18 A1.5 1.5 0 0 1 19.5 6 V18 A1.5 1.5 0 0 1 18 19.5 H9 M3.5 12 H14 M10.5 8.5 L14 12 L10.5 15.5"
    readonly property string download: "M12 3.5 V15 M7 10 L12 15 L17 10 M5 20 H19"
    readonly property string info: "M12 3 A9 9 0 1 1 11.99 3 Z M12 11 V16.5 M12 7.6 V7.8"
    readonly property string chevronRight: "M9.5 5.5 L16 12 L9.5 18.5"
    readonly property string chevronLeft: "M14.5 5.5 L8 12 L14.5 18.5"
    readonly property string chevronDown: "M6.5 9.5 L12 15 L17.5 9.5"
    readonly property string check: "M5 12.5 L10 17.5 L19 7"
    readonly property string warning: "M12 3.5 L21.5 20 H2.5 Z M12 10 V14.5 M12 17.2 V17.4"
    readonly property string calendar: "M5 5.5 H19 A1 1 0 0 1 20 6.5 V19.5 A1 1 0 0 1 19 20.5 H5 A1 1 0 0 1 4 19.5 V6.5 A1 1 0 0 1 5 5.5 Z M4 10 H20 M8.5 3 V7.5 M15.5 3 V7.5"
    readonly property string gauge: "M3.5 17 A8.5 8.5 0 1 1 20.5 17 M12 17 L15.5 10.5"
    readonly property string comeDown: "M12 3.5 V13.5 M8 9.5 L12 13.5 L16 9.5 M4.5 17.5 H19.5 M8 20.5 H16"
    readonly property string plug: "M8.5 3 V7.5 M15.5 3 V7.5 M5.5 7.5 H18.5 V11 A6.5 6.5 0 0 1 5.5 11 Z M12 17.5 V21"
    readonly property string bag: "M4.5 8.5 H19.5 A1 1 0 0 1 20.5 9.5 V19 A1.5 1.5 0 0 1 19 20.5 H5 A1.5 1.5 0 0 1 3.5 19 V9.5 A1 1 0 0 1 4.5 8.5 Z M8.5 8.5 V6 A2 2 0 0 1 10.5 4 H13.5 A2 2 0 0 1 15.5 6 V8.5"
    readonly property string shield: "M12 3 L19.5 6 V11.5 C19.5 16 16.5 19.5 12 21 C7.5 19.5 4.5 16 4.5 11.5 V6 Z M8.8 12 L11 14.2 L15.4 9.8"
    readonly property string terminal: "M4.5 4.5 H19.5 A1.5 1.5 0 0 1 21 6 V18 A1.5 1.5 0 0 1 19.5 19.5 H4.5 A1.5 1.5 0 0 1 3 18 V6 A1.5 1.5 0 0 1 4.5 4.5 Z M7 9.5 L10 12 L7 14.5 M12.5 14.5 H17"
    readonly property string copy: "M9 9 H18.5 A1 1 0 0 1 19.5 10 V19.5 A1 1 0 0 1 18.5 20.5 H9 A1 1 0 0 1 8 19.5 V10 A1 1 0 0 1 9 9 Z M5 15 H4.5 A1 1 0 0 1 3.5 14 V4.5 A1 1 0 0 1 4.5 3.5 H14 A1 1 0 0 1 15 4.5 V5"
    // The flame, outer shape and inner tongue, on a 100-unit grid.
    readonly property string flame: "M50 3 C57 20 82 34 82 62 C82 83 67 97 50 97 C33 97 18 83 18 62 C18 46 27 36 35 26 C37 38 41 45 47 48 C44 32 45 17 50 3 Z"
    readonly property string flameInner: "M51 50 C58 59 67 66 67 77 C67 87 60 93 51 93 C42 93 35 87 35 78 C35 68 45 62 51 50 Z"
}
