import QtQuick
import TallyFold

// The bar at the bottom of a screen with a list: what is done with all of it, how far the run is, what came of it, and
// the TFRunButton, which keeps its place. The actions stand above the run where both have too little room in one row.
Item {
    id: bar

    default property alias actions: actions.data
    // A TFNoticeBar, which stands above, and what it takes there.
    property alias notice: noticePlace.data
    property int noticeGap: TallyTheme.space3
    readonly property real noticeRoom: noticePlace.height > 0 ? noticePlace.height + noticeGap : 0
    property alias runButton: place.data
    required property RunStatus status
    property alias figure: figures.figure
    property alias figureName: figures.objectName
    property alias progress: progress.value
    property alias progressName: progress.objectName
    property string progressLabel
    // What came of the last run; empty when that is told elsewhere, or there is nothing to tell.
    property string verdict
    property int verdictTone: Tone.Pending
    // There is a first failure to go to.
    property bool hasFailures: false
    // What the actions take in one row.
    property real actionsWidth
    readonly property bool isStacked: actionsWidth + TallyTheme.leastRunWidth + place.width + 2 * TallyTheme.space4 > width

    signal failureWanted

    implicitHeight: isStacked ? actions.height + TallyTheme.space2 + place.height : Math.max(actions.height, place.height)

    anchors {
        left: parent.left
        right: parent.right
        bottom: parent.bottom
        leftMargin: TallyTheme.space6
        rightMargin: TallyTheme.space6
        bottomMargin: TallyTheme.space3
    }

    Column {
        id: noticePlace

        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.top
            bottomMargin: bar.noticeGap
        }
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

    TFIconButton {
        id: jump

        objectName: "firstFailure"
        visible: bar.hasFailures && verdict.visible
        name: qsTr("Go to the first failure")
        icon: "arrow.down"
        onClicked: bar.failureWanted()

        anchors {
            right: place.left
            rightMargin: TallyTheme.space2
            verticalCenter: place.verticalCenter
        }
    }

    Column {
        id: run

        spacing: TallyTheme.space0

        anchors {
            left: parent.left
            right: jump.visible ? jump.left : place.left
            leftMargin: bar.isStacked ? 0 : actions.width + TallyTheme.space4
            rightMargin: jump.visible ? TallyTheme.space1 : TallyTheme.space4
            verticalCenter: place.verticalCenter
        }

        Item {
            width: parent.width
            // Room is kept while there is nothing to say. A verdict that is too long for one line takes that of the figure.
            height: verdict.isLong ? 2 * figureMetrics.height : verdictMetrics.height

            TFStaticText {
                objectName: "runningFile"
                width: parent.width
                height: parent.height
                visible: text !== ""
                text: bar.status.file
                color: TallyTheme.secondary
                elide: Text.ElideMiddle
                font.pixelSize: TallyTheme.captionSize
            }

            TFIcon {
                id: sign

                anchors.verticalCenter: parent.verticalCenter
                visible: verdict.visible
                name: bar.verdictTone === Tone.Good ? "checkmark.circle.fill" : "exclamationmark.triangle.fill"
                size: TallyTheme.smallIconSize
                color: verdict.color
            }

            TFText {
                id: verdict

                readonly property real wantedWidth: verdictMetrics.advanceWidth(text)
                readonly property bool isLong: visible && wantedWidth * TallyTheme.captionSize / TallyTheme.bodySize > width

                objectName: "runVerdict"
                visible: text !== ""
                text: bar.verdict
                color: TallyTheme.toneColor(bar.verdictTone)
                elide: Text.ElideRight
                wrapMode: Text.Wrap
                maximumLineCount: isLong ? 2 : 1
                font.pixelSize: wantedWidth > width ? TallyTheme.captionSize : TallyTheme.bodySize
                font.weight: Font.DemiBold
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text

                anchors {
                    left: sign.right
                    right: parent.right
                    leftMargin: TallyTheme.space1
                    verticalCenter: parent.verticalCenter
                }
            }
        }

        TFProgressBar {
            id: progress

            width: parent.width
            reach: bar.status.reach
            Accessible.name: bar.progressLabel
        }

        TFRunFigures {
            id: figures

            width: parent.width
            height: figureMetrics.height
            visible: !verdict.isLong
            status: bar.status
        }
    }

    FontMetrics {
        id: verdictMetrics

        font.pixelSize: TallyTheme.bodySize
        font.weight: Font.DemiBold
    }

    FontMetrics {
        id: figureMetrics

        font: figures.font
    }

    Item {
        id: place

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: TallyTheme.runButtonWidth
        height: TallyTheme.controlHeight
    }
}
