import QtQuick
import TallyFold

// Where a file lies, and facts about it. Two texts, so that no letter in the one can reorder what the other says.
Item {
    id: root

    property string path
    property string facts
    // The width that it can have at the most.
    property real room: width

    implicitWidth: pathText.wantedWidth + factsText.implicitWidth
    implicitHeight: pathText.implicitHeight

    TFNameText {
        id: pathText

        room: Math.max(0, root.room - factsText.implicitWidth)
        width: Math.max(0, Math.min(wantedWidth, root.width - factsText.width))
        text: root.path
        color: TallyTheme.tertiary
        font.pixelSize: TallyTheme.captionSize
    }

    TFText {
        id: factsText

        objectName: "facts"
        // The path takes less than it could where its middle is left out.
        x: pathText.contentWidth
        width: Math.min(implicitWidth, root.width)
        elide: Text.ElideRight
        text: root.facts === "" ? "" : " · " + root.facts
        color: TallyTheme.tertiary
        font.pixelSize: TallyTheme.captionSize
    }
}
