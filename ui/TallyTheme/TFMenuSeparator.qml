import QtQuick
import QtQuick.Templates as T
import TallyFold

T.MenuSeparator {
    implicitHeight: TallyTheme.space2 + TallyTheme.lineWidth
    padding: TallyTheme.space1

    contentItem: Rectangle {
        color: TallyTheme.hairline
    }
}
