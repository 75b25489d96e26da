import QtQuick
import Torvel

// The five sections as tabs in the window's header; Ctrl+1 to Ctrl+5 reach them from anywhere.
EmberSegmented {
    id: tabs
    accessibleName: Route.sectionsName
    options: Route.sections
    selection: Route.section
    onPicked: (value) => Route.section = value
    implicitWidth: Math.max(560, fittedWidth)
}
