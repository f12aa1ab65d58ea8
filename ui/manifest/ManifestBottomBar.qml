import QtQuick
import TallyFold

// What is done with the whole list.
Item {
    id: root

    required property AppViewModel viewModel
    required property bool hasRows
    readonly property var listFile: viewModel.manifestFile
    readonly property var rootFolder: viewModel.manifestRoot
    readonly property bool isBusy: viewModel.isLoadingManifest || viewModel.isManifestVerifying

    signal copyRequested

    implicitHeight: TallyTheme.controlHeight

    Row {
        id: actions

        spacing: TallyTheme.space2

        TFButton {
            objectName: "copyRows"
            text: qsTr("Copy rows")
            icon: "doc.on.doc"
            tip: qsTr("Copies all rows that are shown (Ctrl+Shift+C)")
            refusal: root.hasRows ? "" : qsTr("There are no rows to copy.")
            onClicked: root.copyRequested()
        }

        TFButton {
            objectName: "clearManifest"
            text: qsTr("Clear")
            refusal: root.listFile.name === undefined && root.rootFolder.name === undefined ? qsTr("Nothing is chosen.") : ""
            onClicked: root.viewModel.clearManifest()
        }
    }

    TFProgressBar {
        objectName: "manifestProgress"
        value: root.viewModel.manifestProgress
        Accessible.name: qsTr("Verification of the list")

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

        text: root.viewModel.manifestProgressFigure
        color: TallyTheme.secondary
        horizontalAlignment: Text.AlignRight
        font.pixelSize: TallyTheme.captionSize

        anchors {
            right: act.left
            rightMargin: TallyTheme.space4
            verticalCenter: parent.verticalCenter
        }
    }

    TFButton {
        id: act

        objectName: "verifyManifest"
        anchors.right: parent.right
        width: 112 * TallyTheme.textScale
        text: root.isBusy ? qsTr("Cancel") : qsTr("Verify")
        isProminent: !root.isBusy && refusal === ""
        tip: root.isBusy ? "Esc" : "Ctrl+Return"
        refusal: root.isBusy ? "" : root.viewModel.manifestRefusal
        onClicked: root.isBusy ? root.viewModel.cancelManifest() : root.viewModel.verifyManifest()
    }
}
