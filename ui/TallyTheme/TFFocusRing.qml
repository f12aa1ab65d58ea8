import QtQuick
import TallyFold

// Shows, around its parent, that the focus is there.
Rectangle {
    property int inset: TallyTheme.ring

    anchors.fill: parent
    anchors.margins: inset
    radius: TallyTheme.controlRadius - inset / 2
    color: "transparent"

    border {
        width: TallyTheme.focusWidth
        color: TallyTheme.accent
    }
}
