import QtQuick
import TallyFold

// Text as the interface sets it. Never interpreted as markup: file names come through here.
Text {
    color: TallyTheme.primary
    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter

    font {
        pixelSize: TallyTheme.bodySize
    }
}
