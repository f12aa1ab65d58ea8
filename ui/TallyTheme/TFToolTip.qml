import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ToolTip {
    id: tip

    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: -implicitHeight - TallyTheme.space2
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    horizontalPadding: TallyTheme.space2
    verticalPadding: TallyTheme.space1 + 2
    margins: TallyTheme.space2
    delay: TallyTheme.tipDelay
    closePolicy: T.Popup.NoAutoClose

    contentItem: TFText {
        text: tip.text
        font.pixelSize: TallyTheme.captionSize
    }

    background: Rectangle {
        radius: TallyTheme.chipRadius
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
