import QtQuick
import TallyFold

// The title of a screen and the line that says what it does.
Item {
    id: root

    property alias title: titleText.text
    property alias subtitle: subtitleText.text
    // In one line, where both fit into it.
    property bool isCompact: false
    readonly property bool isOneLine: isCompact && titleText.implicitWidth + TallyTheme.space3 + subtitleText.implicitWidth <= width

    implicitHeight: isOneLine ? titleText.height : subtitleText.y + subtitleText.height

    TFText {
        id: titleText

        width: root.isOneLine ? implicitWidth : root.width
        wrapMode: Text.Wrap
        font.pixelSize: TallyTheme.titleSize
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    TFStaticText {
        id: subtitleText

        x: root.isOneLine ? titleText.width + TallyTheme.space3 : 0
        y: root.isOneLine ? titleText.baselineOffset - baselineOffset : titleText.height + TallyTheme.space1
        width: root.width - x
        wrapMode: Text.Wrap
        color: TallyTheme.secondary
    }
}
