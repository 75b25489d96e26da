import QtQuick
import QtQuick.Shapes

// A small line symbol drawn from an SVG path on a 24-unit grid, so it takes any Ember colour.
Item {
    id: glyph
    property string path
    property color color: "black"
    property bool filled: false
    property real lineWidth: 2
    property real size: 16
    width: size
    height: size

    Shape {
        anchors.fill: parent
        antialiasing: true
        scale: glyph.size / 24
        transformOrigin: Item.TopLeft
        ShapePath {
            strokeColor: glyph.filled ? "transparent" : glyph.color
            strokeWidth: glyph.filled ? 0 : glyph.lineWidth
            fillColor: glyph.filled ? glyph.color : "transparent"
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin
            PathSvg { path: glyph.path }
        }
    }
}
