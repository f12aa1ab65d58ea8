import QtQuick
import TallyFold

// Where a file lies, and facts about it. Two texts, so that no letter in the one can reorder what the other says.
Item {
    id: root

    property string path
    property string facts

    implicitHeight: pathText.implicitHeight

    TFNameText {
        id: pathText

        room: Math.max(0, root.width - factsText.width)
        width: Math.min(wantedWidth, room)
        text: root.path
        color: TallyTheme.tertiary
        font.pixelSize: TallyTheme.captionSize
    }

    TFText {
        id: factsText

        objectName: "facts"
        anchors.left: pathText.right
        text: root.facts === "" ? "" : " · " + root.facts
        color: TallyTheme.tertiary
        font.pixelSize: TallyTheme.captionSize
    }
}
