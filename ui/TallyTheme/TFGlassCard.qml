import QtQuick
import TallyFold

// A translucent surface with a hairline edge.
Rectangle {
    property bool isTargeted: false

    radius: TallyTheme.cardRadius
    color: isTargeted ? TallyTheme.accentTint : TallyTheme.surface
    border.width: isTargeted ? TallyTheme.focusWidth : TallyTheme.lineWidth
    border.color: isTargeted ? TallyTheme.accent : TallyTheme.hairline

    Behavior on color  {
        ColorAnimation {
            duration: TallyTheme.hoverDuration
            easing.type: Easing.OutCubic
        }
    }
}
