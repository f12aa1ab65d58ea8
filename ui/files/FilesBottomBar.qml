import QtQuick
import TallyFold

// What is done with the whole queue.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    required property bool isSelectedFinished

    signal copyRequested
    signal rowRequested(int row)

    function openExportMenu() {
        if (exportButton.refusal === "")
            exportMenu.popUpAbove(exportButton);
    }

    function openExportMenuByKey() {
        openExportMenu();
        exportMenu.currentIndex = 0;
    }

    status: viewModel.files.runStatus
    verdict: viewModel.files.verdict.title
    verdictTone: viewModel.files.verdict.tone
    hasFailures: !viewModel.files.jobs.filters[FileJobListModel.Failures].isEmpty
    onFailureWanted: rowRequested(viewModel.files.jobs.showFirst(FileJobListModel.Failures))
    figureName: "runFigure"
    figure: viewModel.files.runFigure
    progress: viewModel.files.overallProgress
    progressName: "overallProgress"
    progressLabel: qsTr("All files")

    runButton: TFRunButton {
        objectName: "calculate"
        verb: qsTr("Calculate")
        isRunning: root.viewModel.files.isProcessing
        startRefusal: root.viewModel.files.startRefusal
        onStarted: root.viewModel.files.startProcessing()
        onCancelled: root.viewModel.files.cancelProcessing()
    }

    TFButton {
        objectName: "copyAll"
        text: qsTr("Copy all checksums")
        icon: "doc.on.doc"
        isConfirmed: true
        tip: qsTr("Copies the checksums of the selected file (Ctrl+C)")
        refusal: root.isSelectedFinished ? "" : qsTr("Select a file whose checksums are calculated.")
        onClicked: root.copyRequested()
    }

    TFButton {
        id: exportButton

        objectName: "export"
        visible: !root.viewModel.files.isExporting
        text: qsTr("Export…")
        icon: "square.and.arrow.up"
        opensMenu: true
        tip: "Ctrl+E"
        refusal: root.viewModel.files.exportRefusal
        onClicked: root.openExportMenu()
    }

    TFExporting {
        visible: root.viewModel.files.isExporting
        onCancelled: root.viewModel.files.cancelExport()
    }

    TFButton {
        objectName: "clear"
        text: qsTr("Clear")
        refusal: root.viewModel.files.clearRefusal
        onClicked: root.viewModel.files.clearFiles()
    }

    TFMenu {
        id: exportMenu

        leastWidth: TallyTheme.shortMenuWidth

        TFMenuItem {
            objectName: "exportText"
            text: qsTr("Text")
            onTriggered: root.viewModel.files.exportResults(FilesFlow.Text)
        }

        TFMenuItem {
            objectName: "exportCsv"
            text: qsTr("CSV")
            onTriggered: root.viewModel.files.exportResults(FilesFlow.Csv)
        }

        TFMenuItem {
            objectName: "exportJson"
            text: qsTr("JSON")
            onTriggered: root.viewModel.files.exportResults(FilesFlow.Json)
        }

        TFMenuSeparator {
        }

        TFMenuItem {
            objectName: "exportList"
            text: qsTr("Checksum List…")
            onTriggered: root.viewModel.files.exportList()
        }
    }
}
