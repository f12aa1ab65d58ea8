import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ScrollBar {
    id: control

    implicitWidth: TallyTheme.space3
    padding: TallyTheme.scrollPadding
    minimumSize: TallyTheme.leastScrollShare
    visible: size < 1
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: width / 2
        color: control.pressed ? TallyTheme.tertiary : control.hovered ? TallyTheme.scrollHover : TallyTheme.scrollRest
    }
}
