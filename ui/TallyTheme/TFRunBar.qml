import QtQuick
import TallyFold

// The bar at the bottom of a screen with a list: what is done with all of it, how far the run is, and the TFRunButton.
Item {
    id: bar

    default property alias actions: actions.data
    property alias runButton: place.data
    property alias figure: figure.text
    property alias figureName: figure.objectName
    property alias progress: progress.value
    property alias progressName: progress.objectName
    property string progressLabel

    implicitHeight: TallyTheme.controlHeight

    anchors {
        left: parent.left
        right: parent.right
        bottom: parent.bottom
        leftMargin: TallyTheme.space6
        rightMargin: TallyTheme.space6
        bottomMargin: TallyTheme.space4
    }

    Row {
        id: actions

        spacing: TallyTheme.space2
    }

    TFProgressBar {
        id: progress

        Accessible.name: bar.progressLabel

        anchors {
            left: actions.right
            right: figure.left
            leftMargin: TallyTheme.space4
            rightMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }
    }

    TFText {
        id: figure

        color: TallyTheme.secondary
        font.pixelSize: TallyTheme.captionSize

        anchors {
            right: place.left
            rightMargin: TallyTheme.space4
            verticalCenter: parent.verticalCenter
        }
    }

    Item {
        id: place

        anchors.right: parent.right
        width: TallyTheme.runButtonWidth
        height: parent.height
    }
}
