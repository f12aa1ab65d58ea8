import QtQuick
import TallyFold

// What is done with the whole list.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    required property bool hasRows
    readonly property bool isBusy: viewModel.manifest.isLoadingManifest || viewModel.manifest.isManifestVerifying
    readonly property var listFile: viewModel.manifest.manifestFile
    readonly property var rootFolder: viewModel.manifest.manifestRoot

    signal copyRequested
    signal startRefused

    function start() {
        verify.start();
    }

    figure: viewModel.manifest.manifestProgressFigure
    progress: viewModel.manifest.manifestProgress
    progressName: "manifestProgress"
    progressLabel: qsTr("Verification of the list")

    runButton: TFRunButton {
        id: verify

        objectName: "verifyManifest"
        verb: qsTr("Verify")
        isRunning: root.isBusy
        isProminent: !isRunning && refusal === ""
        startRefusal: root.viewModel.manifest.manifestRefusal
        onStarted: root.viewModel.manifest.verifyManifest()
        onStartRefused: root.startRefused()
        onCancelled: root.viewModel.manifest.cancelManifest()
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
        onClicked: root.viewModel.manifest.clearManifest()
    }
}
