import QtQuick
import TallyFold

// What is done with the whole list.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    readonly property Item runPlace: run.place

    status: viewModel.manifest.runStatus
    figure: viewModel.manifest.manifestProgressFigure
    progress: viewModel.manifest.manifestProgress
    progressName: "manifestProgress"
    progressLabel: qsTr("Verification of the list")

    runButton: TFRunButton {
        id: run

        objectName: "verifyManifest"
        verb: qsTr("Verify")
        isRunning: root.viewModel.manifest.isBusy
        isProminent: !isRunning && refusal === ""
        startRefusal: root.viewModel.manifest.manifestRefusal
        onStarted: root.viewModel.manifest.verifyManifestOrChoose()
        onCancelled: root.viewModel.manifest.cancelManifest()
    }

    TFButton {
        objectName: "copyRows"
        text: qsTr("Copy rows")
        icon: "doc.on.doc"
        isConfirmed: true
        tip: qsTr("Copies all rows that are shown (Ctrl+Shift+C)")
        refusal: root.viewModel.manifest.copyManifestRefusal
        onClicked: root.viewModel.manifest.copyManifestShown()
    }

    TFButton {
        objectName: "clearManifest"
        text: qsTr("Clear")
        refusal: root.viewModel.manifest.clearManifestRefusal
        onClicked: root.viewModel.manifest.clearManifest()
    }
}
