import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ScrollBar {
    id: control

    implicitWidth: 12
    padding: 3
    minimumSize: 0.06
    visible: size < 1
    Accessible.ignored: true

    contentItem: Rectangle {
        radius: width / 2
        color: control.pressed ? TallyTheme.tertiary : control.hovered ? Qt.alpha(TallyTheme.tertiary, 0.8) : Qt.alpha(TallyTheme.tertiary, 0.45)
    }
}
