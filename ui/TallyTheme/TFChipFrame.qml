import QtQuick
import TallyFold

// What a chip stands on: it shows whether the chip is on, and what the pointer does to it.
Rectangle {
    required property bool isOn
    required property bool isDown
    required property bool isHovered

    radius: TallyTheme.controlRadius
    color: isDown ? TallyTheme.pressed : isOn ? TallyTheme.accentTint : isHovered ? TallyTheme.raised : TallyTheme.surface
    border.color: isOn ? TallyTheme.accentEdge : TallyTheme.controlEdge
}
