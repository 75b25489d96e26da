import QtQuick
import QtQuick.Window

// A small line symbol drawn from an SVG path on a 24-unit grid, so it takes any Ember colour. It is drawn as an
// image at the screen's pixel density: the software renderer the app runs on left traces of vector shapes
// behind when a page scrolled under its clip, and an image it redraws cleanly.
Item {
    id: glyph
    property string path
    property color color: "black"
    property bool filled: false
    property real lineWidth: 2
    property real size: 16
    readonly property real density: Screen.devicePixelRatio > 0 ? Screen.devicePixelRatio : 1
    width: size
    height: size

    function paint(c) {
        return "rgb(" + Math.round(c.r * 255) + "," + Math.round(c.g * 255) + "," + Math.round(c.b * 255) + ")"
    }
    readonly property string drawing: "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 24 24'><path d='"
        + path + "' fill='" + (filled ? paint(color) : "none") + "' fill-opacity='" + color.a
        + "' stroke='" + (filled ? "none" : paint(color)) + "' stroke-opacity='" + color.a
        + "' stroke-width='" + lineWidth + "' stroke-linecap='round' stroke-linejoin='round'/></svg>"

    Image {
        anchors.fill: parent
        visible: glyph.path.length > 0
        sourceSize: Qt.size(Math.ceil(glyph.size * glyph.density), Math.ceil(glyph.size * glyph.density))
        smooth: true
        cache: true
        source: visible ? "data:image/svg+xml;utf8," + encodeURIComponent(glyph.drawing) : ""
    }
}
