import QtQuick
import TallyFold

// The title of a screen and the line that says what it does.
Column {
    id: root

    property string title
    property string subtitle

    spacing: TallyTheme.space1

    TFText {
        width: root.width
        text: root.title
        elide: Text.ElideRight
        font.pixelSize: TallyTheme.titleSize
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    TFStaticText {
        width: root.width
        text: root.subtitle
        color: TallyTheme.secondary
        elide: Text.ElideRight
    }
}
