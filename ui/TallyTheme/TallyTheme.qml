pragma Singleton
import QtQuick
import TallyFold

// Every colour, distance, radius and size of the interface.
QtObject {
    readonly property color backgroundTop: "#171C2B"
    readonly property color backgroundBottom: "#0B0E16"
    readonly property color panel: "#1E2434"

    readonly property color surface: Qt.rgba(1, 1, 1, 0.05)
    readonly property color raised: Qt.rgba(1, 1, 1, 0.08)
    readonly property color pressed: Qt.rgba(1, 1, 1, 0.12)
    readonly property color hairline: Qt.rgba(1, 1, 1, 0.09)
    readonly property color track: Qt.rgba(1, 1, 1, 0.10)

    readonly property color primary: "#E9EDF5"
    readonly property color secondary: "#AAB4C8"
    readonly property color tertiary: "#8590A8"

    readonly property color accent: "#8AB4FF"
    readonly property color accentHover: "#A3C4FF"
    readonly property color accentPressed: "#6F9FF2"
    readonly property color inkOnAccent: "#0B0E16"
    readonly property color accentTint: tint(accent)
    readonly property color accentEdge: edge(accent)

    readonly property color good: "#5FDC94"
    readonly property color bad: "#FF8A8A"
    readonly property color caution: "#F5C15D"
    readonly property color scrim: Qt.rgba(0.02, 0.03, 0.05, 0.6)

    readonly property int space1: 4
    readonly property int space2: 8
    readonly property int space3: 12
    readonly property int space4: 16
    readonly property int space5: 20
    readonly property int space6: 24
    readonly property int space8: 32

    readonly property int lineWidth: 1
    // Of the bar beside a selected row.
    readonly property int selectionWidth: 3

    readonly property int cardRadius: 14
    readonly property int controlRadius: 8
    readonly property int chipRadius: 6

    readonly property real textScale: DesktopSettings.textScale
    readonly property int titleSize: Math.round(22 * textScale)
    readonly property int sectionSize: Math.round(15 * textScale)
    readonly property int navigationSize: Math.round(14 * textScale)
    readonly property int bodySize: Math.round(13 * textScale)
    readonly property int captionSize: Math.round(11 * textScale)
    readonly property int digestSize: Math.round(12.5 * textScale)
    readonly property string digestFont: DesktopSettings.digestFont

    readonly property int controlHeight: Math.round(32 * textScale)
    readonly property int smallControlHeight: Math.round(28 * textScale)
    readonly property int rowHeight: Math.round(48 * textScale)
    // Of a long list whose rows are one line each.
    readonly property int listRowHeight: Math.round(34 * textScale)
    readonly property int iconSize: 16
    readonly property real runButtonWidth: 112 * textScale
    readonly property int digestGap: 4
    readonly property real disabledOpacity: 0.4

    readonly property int hoverDuration: DesktopSettings.isMotionWanted ? 120 : 0
    readonly property int spinDuration: 900
    readonly property bool isMotionWanted: DesktopSettings.isMotionWanted
    readonly property int tipDelay: 500

    // A state's colour as the fill and as the border of what is in that state.
    function tint(color: color): color {
        return Qt.rgba(color.r, color.g, color.b, 0.12);
    }

    function edge(color: color): color {
        return Qt.rgba(color.r, color.g, color.b, 0.3);
    }
}
