import QtQuick
import TallyFold

// What is done with the whole list.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    readonly property Item runPlace: run.place
    readonly property ManifestExport report: viewModel.manifest.manifestExport

    function openExportMenuByKey() {
        if (report.refusal !== "")
            return;
        exportMenu.popUpAbove(exportButton);
        exportMenu.currentIndex = 0;
    }

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
        refusal: root.viewModel.shownRows.copyRefusal
        onClicked: root.viewModel.shownRows.copyAll()
    }

    TFButton {
        id: exportButton

        objectName: "exportVerification"
        visible: !root.report.isSaving
        text: qsTr("Export…")
        icon: "square.and.arrow.up"
        opensMenu: true
        tip: "Ctrl+E"
        refusal: root.report.refusal
        onClicked: exportMenu.popUpAbove(exportButton)
    }

    TFExporting {
        visible: root.report.isSaving
        isEscapeTaken: run.isRunning || root.viewModel.audit.isBusy
        onCancelled: root.report.cancel()
    }

    TFButton {
        objectName: "clearManifest"
        text: qsTr("Clear")
        refusal: root.viewModel.manifest.clearManifestRefusal
        onClicked: root.viewModel.manifest.clearManifest()
    }

    TFMenu {
        id: exportMenu

        leastWidth: TallyTheme.shortMenuWidth

        TFMenuItem {
            objectName: "exportText"
            text: qsTr("Text")
            onTriggered: root.report.save(ManifestExport.Text)
        }

        TFMenuItem {
            objectName: "exportCsv"
            text: qsTr("CSV")
            onTriggered: root.report.save(ManifestExport.Csv)
        }

        TFMenuItem {
            objectName: "exportJson"
            text: qsTr("JSON")
            onTriggered: root.report.save(ManifestExport.Json)
        }
    }
}
