import QtQuick
import TallyFold

// The bar at the bottom of a screen with a list: what is done with all of it, how far the run is, and the TFRunButton,
// which keeps its place. The actions stand above the run where both have too little room in one row.
Item {
    id: bar

    default property alias actions: actions.data
    property alias runButton: place.data
    property alias figure: figure.text
    property alias figureName: figure.objectName
    property alias progress: progress.value
    property alias progressName: progress.objectName
    property string progressLabel
    // What the actions take in one row.
    property real actionsWidth
    readonly property bool isStacked: actionsWidth + TallyTheme.leastRunWidth + place.width + 2 * TallyTheme.space4 > width

    implicitHeight: isStacked ? actions.height + TallyTheme.space2 + place.height : Math.max(actions.height, place.height)

    anchors {
        left: parent.left
        right: parent.right
        bottom: parent.bottom
        leftMargin: TallyTheme.space6
        rightMargin: TallyTheme.space6
        bottomMargin: TallyTheme.space3
    }

    Flow {
        id: actions

        width: bar.isStacked ? bar.width : bar.actionsWidth
        spacing: TallyTheme.space2
        onPositioningComplete: {
            let sum = -spacing;
            for (let i = 0; i < children.length; ++i) {
                if (children[i].visible)
                    sum += children[i].width + spacing;
            }
            bar.actionsWidth = Math.max(0, sum);
        }
    }

    Column {
        spacing: TallyTheme.space1

        anchors {
            left: parent.left
            right: place.left
            leftMargin: bar.isStacked ? 0 : actions.width + TallyTheme.space4
            rightMargin: TallyTheme.space4
            verticalCenter: place.verticalCenter
        }

        TFProgressBar {
            id: progress

            width: parent.width
            Accessible.name: bar.progressLabel
        }

        TFText {
            id: figure

            width: parent.width
            // Room is kept while there is nothing to say.
            height: metrics.height
            color: TallyTheme.secondary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize
        }
    }

    FontMetrics {
        id: metrics

        font: figure.font
    }

    Item {
        id: place

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: TallyTheme.runButtonWidth
        height: TallyTheme.controlHeight
    }
}
