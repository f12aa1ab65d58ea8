import QtQuick
import TallyFold

// Shows, around its parent, that the keyboard is there.
Rectangle {
    property int inset: -4

    anchors.fill: parent
    anchors.margins: inset
    radius: TallyTheme.controlRadius - inset / 2
    color: "transparent"

    border {
        width: 2
        color: TallyTheme.accent
    }
}
