import QtQuick
import TallyFold

// How far a run is, as a bar and as a figure.
Item {
    id: root

    // A fraction, 0 to 1.
    property real value
    property string label
    property alias barName: bar.objectName

    implicitWidth: TallyTheme.progressWidth + TallyTheme.space2 + TallyTheme.percentWidth
    implicitHeight: percent.implicitHeight

    TFProgressBar {
        id: bar

        value: root.value
        Accessible.name: root.label

        anchors {
            left: parent.left
            right: percent.left
            rightMargin: TallyTheme.space2
            verticalCenter: parent.verticalCenter
        }
    }

    TFPercentText {
        id: percent

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        value: root.value
    }
}
