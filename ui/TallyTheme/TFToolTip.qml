import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ToolTip {
    id: tip

    // What is above it is read together with what it is about.
    property bool isBelow: false

    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: isBelow && parent ? parent.height + TallyTheme.space2 : -implicitHeight - TallyTheme.space2
    // A longer tip has several lines.
    implicitWidth: {
        const wanted = Math.min(Math.ceil(contentItem.implicitWidth) + leftPadding + rightPadding, TallyTheme.tipWidth);
        return parent?.Window.window ? Math.min(wanted, parent.Window.width - 2 * margins) : wanted;
    }
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    horizontalPadding: TallyTheme.space2
    verticalPadding: TallyTheme.rowMargin
    margins: TallyTheme.space2
    delay: TallyTheme.tipDelay
    closePolicy: T.Popup.NoAutoClose

    contentItem: TFText {
        text: tip.text
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        font.pixelSize: TallyTheme.captionSize
    }

    background: Rectangle {
        radius: TallyTheme.chipRadius
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
