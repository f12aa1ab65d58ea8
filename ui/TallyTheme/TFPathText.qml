import QtQuick
import TallyFold

// Where a file lies, and facts about it. Two texts, so that no letter in the one can reorder what the other says.
Item {
    id: root

    property string path
    property string facts

    implicitHeight: pathText.implicitHeight

    TFText {
        id: pathText

        width: Math.max(0, Math.min(implicitWidth, root.width - factsText.width))
        text: root.path
        elide: Text.ElideMiddle
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
