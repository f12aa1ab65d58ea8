import QtQuick
import TallyFold

// In the place of the button that exports, while a report is saved.
Row {
    id: root

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
        name: qsTr("Cancel the export (Esc)")
        icon: "xmark"
        onClicked: root.cancelled()
    }

    Shortcut {
        enabled: root.visible
        sequence: "Esc"
        onActivated: root.cancelled()
    }
}
