import QtQuick
import QtQuick.Shapes
import Torvel

// Torvel's mark: the outer flame in the ember gradient, the inner tongue pale and warm over it.
Item {
    id: mark
    property real size: 24
    width: size
    height: size

    Shape {
        anchors.fill: parent
        antialiasing: true
        scale: mark.size / 100
        transformOrigin: Item.TopLeft
        ShapePath {
            strokeWidth: 0
            strokeColor: "transparent"
            fillGradient: LinearGradient {
                x1: 18; y1: 50; x2: 82; y2: 50
                GradientStop { position: 0; color: Ember.ember3 }
                GradientStop { position: 1; color: Ember.emberLight }
            }
            PathSvg { path: Glyphs.flame }
        }
        ShapePath {
            strokeWidth: 0
            strokeColor: "transparent"
            fillColor: Qt.rgba(1.0, 0.851, 0.690, 0.9)
            PathSvg { path: Glyphs.flameInner }
        }
    }
}
