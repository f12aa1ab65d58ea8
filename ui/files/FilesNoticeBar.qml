import QtQuick
import TallyFold

// What was done last, and the one thing that can be done about it, over the end of the list.
Rectangle {
    id: root

    required property AppViewModel viewModel
    readonly property filesNotice notice: viewModel.files.notice
    readonly property bool isPresent: notice.kind !== FilesNotice.None

    function act() {
        if (notice.kind === FilesNotice.Saved)
            viewModel.files.showSavedReport();
        else
            viewModel.files.undoClear();
    }

    visible: isPresent
    implicitHeight: TallyTheme.controlHeight + 2 * TallyTheme.space1
    radius: TallyTheme.controlRadius
    color: TallyTheme.panel
    border.width: TallyTheme.lineWidth
    border.color: TallyTheme.accentEdge
    Accessible.role: Accessible.AlertMessage
    Accessible.name: notice.words + notice.place + notice.remark

    TFIcon {
        id: icon

        x: TallyTheme.space3
        anchors.verticalCenter: parent.verticalCenter
        name: "checkmark"
        size: TallyTheme.smallIconSize
        color: root.notice.kind === FilesNotice.Saved ? TallyTheme.good : TallyTheme.secondary
    }

    TFText {
        id: words

        text: root.notice.words

        anchors {
            left: icon.right
            leftMargin: TallyTheme.space2
            verticalCenter: parent.verticalCenter
        }
    }

    TFNameText {
        id: place

        text: root.notice.place
        room: Math.max(0, actButton.x - words.x - words.width - remark.width - TallyTheme.space3)
        width: Math.min(wantedWidth, room)
        font.weight: Font.Medium

        anchors {
            left: words.right
            verticalCenter: parent.verticalCenter
        }
    }

    TFText {
        id: remark

        text: root.notice.remark

        anchors {
            left: place.left
            leftMargin: place.contentWidth
            verticalCenter: parent.verticalCenter
        }
    }

    TFButton {
        id: actButton

        objectName: "noticeAction"
        text: root.notice.kind === FilesNotice.Saved ? qsTr("Show") : qsTr("Undo")
        tip: root.notice.kind === FilesNotice.Saved ? qsTr("Shows the report in the file browser") : "Ctrl+Z"
        onClicked: root.act()

        anchors {
            right: dismiss.left
            rightMargin: TallyTheme.space1
            verticalCenter: parent.verticalCenter
        }
    }

    TFIconButton {
        id: dismiss

        objectName: "dismissNotice"
        name: qsTr("Dismiss")
        icon: "xmark"
        onClicked: root.viewModel.files.dismissNotice()

        anchors {
            right: parent.right
            rightMargin: TallyTheme.space1
            verticalCenter: parent.verticalCenter
        }
    }

    Shortcut {
        enabled: root.visible && root.notice.kind === FilesNotice.Cleared
        sequences: [StandardKey.Undo]
        onActivated: root.act()
    }
}
