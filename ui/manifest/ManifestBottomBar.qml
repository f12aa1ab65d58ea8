import QtQuick
import TallyFold

// What is done with the whole list.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    required property bool hasRows
    readonly property bool isBusy: viewModel.isLoadingManifest || viewModel.isManifestVerifying
    readonly property var listFile: viewModel.manifestFile
    readonly property var rootFolder: viewModel.manifestRoot

    signal copyRequested
    signal startRefused

    function start() {
        verify.start();
    }

    figure: viewModel.manifestProgressFigure
    progress: viewModel.manifestProgress
    progressName: "manifestProgress"
    progressLabel: qsTr("Verification of the list")

    runButton: TFRunButton {
        id: verify

        objectName: "verifyManifest"
        verb: qsTr("Verify")
        isRunning: root.isBusy
        isProminent: !isRunning && refusal === ""
        startRefusal: root.viewModel.manifestRefusal
        onStarted: root.viewModel.verifyManifest()
        onStartRefused: root.startRefused()
        onCancelled: root.viewModel.cancelManifest()
    }

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
