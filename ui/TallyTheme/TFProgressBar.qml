import QtQuick
import QtQuick.Templates as T
import TallyFold

T.ProgressBar {
    id: control

    // As far as work under way has come beyond what is finished; a fraction of the whole, from its start.
    property real reach: 0

    implicitWidth: TallyTheme.progressWidth
    implicitHeight: TallyTheme.progressHeight
    Accessible.role: Accessible.ProgressBar
    // Screen readers get no value of a progress bar from the toolkit.
    Accessible.description: Math.floor(position * 100) + "%"

    background: Rectangle {
        radius: height / 2
        color: TallyTheme.track
    }

    contentItem: Item {
        Rectangle {
            width: Math.max(control.reach, control.visualPosition) * parent.width
            height: parent.height
            radius: height / 2
            color: TallyTheme.accentReach
        }

        Rectangle {
            width: control.visualPosition * parent.width
            height: parent.height
            radius: height / 2
            color: TallyTheme.accent
        }
    }
}
