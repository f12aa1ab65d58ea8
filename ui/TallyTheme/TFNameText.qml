import QtQuick
import TallyFold

// A name or a path that others chose, on one line. What has no room leaves out its middle, and is whole in a tip.
Item {
    id: root

    property string text
    property alias color: line.color
    property alias font: line.font
    // The width that it can have at the most.
    property real room: width
    // The width that all of it takes, or of what there could be room for.
    readonly property alias wantedWidth: line.implicitWidth
    readonly property alias contentWidth: line.contentWidth
    readonly property alias lineCount: line.lineCount
    readonly property bool isWhole: !line.truncated && line.text === text

    implicitHeight: line.implicitHeight

    TFText {
        id: line

        width: parent.width
        text: LineFit.ends(root.text, root.room, font.pixelSize)
        elide: Text.ElideMiddle
    }

    HoverHandler {
        id: hover
    }

    Loader {
        anchors.fill: parent
        active: hover.hovered && !root.isWhole

        sourceComponent: Item {
            TFToolTip {
                text: root.text
                visible: true
            }
        }
    }
}
