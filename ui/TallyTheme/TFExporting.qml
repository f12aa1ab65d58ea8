import QtQuick
import TallyFold

// In the place of the button that exports, while a report is saved.
Row {
    id: root

    // Esc is for something else that is under way.
    property bool isEscapeTaken: false

    signal cancelled

    height: TallyTheme.controlHeight
    spacing: TallyTheme.space2

    TFSpinner {
        anchors.verticalCenter: parent.verticalCenter
    }

    TFText {
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("Exporting…")
        color: TallyTheme.secondary
    }

    TFIconButton {
        objectName: "cancelExport"
        anchors.verticalCenter: parent.verticalCenter
        name: root.isEscapeTaken ? qsTr("Cancel the export") : qsTr("Cancel the export (Esc)")
        icon: "xmark"
        onClicked: root.cancelled()
    }

    Shortcut {
        enabled: root.visible && !root.isEscapeTaken
        sequence: "Esc"
        onActivated: root.cancelled()
    }
}
