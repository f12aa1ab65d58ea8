import QtQuick
import TallyFold

// Keeps the place of a mode whose screen is not there yet.
Item {
    id: root

    required property AppViewModel viewModel
    readonly property var current: viewModel.modes[viewModel.mode]

    TFSectionHeader {
        title: root.current.label

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            margins: TallyTheme.space6
        }
    }

    Column {
        anchors.centerIn: parent
        spacing: TallyTheme.space3

        TFIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.current.icon
            size: 40
            color: TallyTheme.tertiary
        }

        TFText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("This mode is not available in this version yet.")
            color: TallyTheme.secondary
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
