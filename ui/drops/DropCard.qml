import QtQuick
import TallyFold

// Where files are dropped: large while there is nothing else to do, one line once there are files.
TFGlassCard {
    id: root

    property bool isCompact: false
    property string refusal
    readonly property int collapsedHeight: TallyTheme.rowHeight
    readonly property int expandedHeight: TallyTheme.dropCardHeight
    readonly property string title: qsTr("Drop files to calculate checksums")
    readonly property string note: qsTr("Files are processed locally in bounded 8 MiB chunks. Nothing is uploaded.")

    readonly property Item choosePlace: isCompact ? choose.place : chooseFirst.place

    signal chooseRequested

    clip: true
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Behavior on height  {
        NumberAnimation {
            duration: TallyTheme.hoverDuration
            easing.type: Easing.OutCubic
        }
    }

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * TallyTheme.space4
        visible: !root.isCompact
        spacing: TallyTheme.space2

        TFIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "arrow.down.doc"
            size: TallyTheme.largeIconSize
            color: root.isTargeted ? TallyTheme.accent : TallyTheme.secondary
        }

        TFText {
            width: parent.width
            text: root.title
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: TallyTheme.sectionSize
            font.weight: Font.DemiBold
        }

        TFText {
            width: parent.width
            text: root.note
            color: TallyTheme.secondary
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }

        TFButton {
            id: chooseFirst

            objectName: root.isCompact ? "" : "chooseFiles"
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Choose Files…")
            icon: "plus"
            tip: "Ctrl+O"
            refusal: root.refusal
            onClicked: root.chooseRequested()
        }
    }

    Item {
        anchors.fill: parent
        anchors.leftMargin: TallyTheme.space4
        anchors.rightMargin: TallyTheme.space2
        visible: root.isCompact

        TFIcon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: "arrow.down.doc"
        }

        TFText {
            id: line

            text: root.title
            font.weight: Font.Medium

            anchors {
                left: icon.right
                leftMargin: TallyTheme.space2
                verticalCenter: parent.verticalCenter
            }
        }

        TFText {
            text: root.note
            color: TallyTheme.tertiary
            elide: Text.ElideRight
            font.pixelSize: TallyTheme.captionSize

            anchors {
                left: line.right
                right: choose.left
                leftMargin: TallyTheme.space3
                rightMargin: TallyTheme.space3
                verticalCenter: parent.verticalCenter
            }
        }

        TFButton {
            id: choose

            objectName: root.isCompact ? "chooseFiles" : ""
            text: qsTr("Choose…")
            tip: "Ctrl+O"
            refusal: root.refusal
            onClicked: root.chooseRequested()

            anchors {
                right: parent.right
                verticalCenter: parent.verticalCenter
            }
        }
    }
}
