import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ProgressBar {
    id: control

    implicitWidth: 160
    implicitHeight: 6
    Accessible.role: Accessible.ProgressBar

    background: Rectangle {
        radius: height / 2
        color: TallyTheme.track
    }

    contentItem: Item {
        Rectangle {
            width: control.visualPosition * parent.width
            height: parent.height
            radius: height / 2
            color: TallyTheme.accent
        }
    }
}
