import QtQuick
import TallyFold

TFText {
    // A fraction, 0 to 1.
    property real value

    width: TallyTheme.percentWidth
    text: (value * 100).toFixed(0) + "%"
    color: TallyTheme.secondary
    horizontalAlignment: Text.AlignRight
    font.pixelSize: TallyTheme.captionSize
    font.weight: Font.Medium
}
