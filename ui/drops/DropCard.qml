import QtQuick
import TallyFold

// Where files are dropped: large while there is nothing else to do, one line once there are files.
TFGlassCard {
    id: root

    property bool isCompact: false
    property string refusal
    readonly property int collapsedHeight: Math.max(TallyTheme.smallControlHeight, texts.height) + 2 * TallyTheme.space1
    readonly property int expandedHeight: TallyTheme.dropCardHeight
    // Of the large form.
    readonly property int leastHeight: invitation.implicitHeight + 2 * TallyTheme.space2
    readonly property string title: qsTr("Drop files to calculate checksums")
    readonly property string note: qsTr("Files are processed locally in bounded 8 MiB chunks. Nothing is uploaded.")

    readonly property Item choosePlace: isCompact ? choose.place : chooseFirst.place

    signal chooseRequested

    clip: true
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Behavior on height  {
        // Only towards what hovers: the list below it does not come to rest as it fills.
        enabled: root.isTargeted

        NumberAnimation {
            duration: TallyTheme.hoverDuration
            easing.type: Easing.OutCubic
        }
    }

    Column {
        id: invitation

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
            wrapMode: Text.Wrap
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
        anchors.rightMargin: TallyTheme.space1
        visible: root.isCompact

        TFIcon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            name: "arrow.down.doc"
        }

        // In one line, where both fit into it.
        Item {
            id: texts

            readonly property bool isOneLine: line.implicitWidth + TallyTheme.space3 + note.implicitWidth <= width

            height: note.y + note.height
            anchors {
                left: icon.right
                right: choose.left
                leftMargin: TallyTheme.space2
                rightMargin: TallyTheme.space3
                verticalCenter: parent.verticalCenter
            }

            TFText {
                id: line

                width: texts.isOneLine ? implicitWidth : texts.width
                text: root.title
                wrapMode: Text.Wrap
                font.weight: Font.Medium
            }

            TFText {
                id: note

                x: texts.isOneLine ? line.width + TallyTheme.space3 : 0
                y: texts.isOneLine ? line.baselineOffset - baselineOffset : line.height
                width: texts.width - x
                text: root.note
                color: TallyTheme.tertiary
                wrapMode: Text.Wrap
                font.pixelSize: TallyTheme.captionSize
            }
        }

        TFButton {
            id: choose

            objectName: root.isCompact ? "chooseFiles" : ""
            height: TallyTheme.smallControlHeight
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
