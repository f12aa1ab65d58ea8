import QtQuick
import TallyFold

// What is done with the whole queue.
TFRunBar {
    id: root

    required property AppViewModel viewModel
    required property bool isSelectedFinished

    signal copyRequested

    function openExportMenu() {
        if (exportButton.refusal === "")
            exportMenu.popup(exportButton, 0, -exportMenu.implicitHeight - TallyTheme.space1);
    }

    figureName: "runFigure"
    // Before a run, what one would be about.
    figure: {
        if (viewModel.interruption !== "")
            return viewModel.interruption;
        const total = viewModel.runFileCount > 0 ? viewModel.runFileCount : viewModel.jobs.count;
        return qsTr("%1 of %2").arg(viewModel.processedCount.toLocaleString(Qt.locale(), "f", 0)).arg(total.toLocaleString(Qt.locale(), "f", 0));
    }
    progress: viewModel.overallProgress
    progressName: "overallProgress"
    progressLabel: qsTr("All files")

    runButton: TFRunButton {
        objectName: "calculate"
        verb: qsTr("Calculate")
        isRunning: root.viewModel.isProcessing
        startRefusal: root.viewModel.startRefusal
        onStarted: root.viewModel.startProcessing()
        onCancelled: root.viewModel.cancelProcessing()
    }

    TFButton {
        objectName: "copyAll"
        text: qsTr("Copy all checksums")
        icon: "doc.on.doc"
        tip: qsTr("Copies the checksums of the selected file (Ctrl+C)")
        refusal: root.isSelectedFinished ? "" : qsTr("Select a file whose checksums are calculated.")
        onClicked: root.copyRequested()
    }

    TFButton {
        id: exportButton

        objectName: "export"
        visible: !root.viewModel.isExporting
        text: qsTr("Export…")
        icon: "square.and.arrow.up"
        opensMenu: true
        tip: "Ctrl+E"
        refusal: root.viewModel.exportRefusal
        onClicked: root.openExportMenu()
    }

    Row {
        visible: root.viewModel.isExporting
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
            onClicked: root.viewModel.cancelExport()
        }
    }

    TFButton {
        objectName: "clear"
        text: qsTr("Clear")
        refusal: root.viewModel.clearRefusal
        onClicked: root.viewModel.clearFiles()
    }

    Shortcut {
        enabled: root.visible && root.viewModel.isExporting
        sequence: "Esc"
        onActivated: root.viewModel.cancelExport()
    }

    TFMenu {
        id: exportMenu

        implicitWidth: 140 * TallyTheme.textScale

        TFMenuItem {
            objectName: "exportText"
            text: qsTr("Text")
            onTriggered: root.viewModel.exportResults(AppViewModel.Text)
        }

        TFMenuItem {
            objectName: "exportCsv"
            text: qsTr("CSV")
            onTriggered: root.viewModel.exportResults(AppViewModel.Csv)
        }

        TFMenuItem {
            objectName: "exportJson"
            text: qsTr("JSON")
            onTriggered: root.viewModel.exportResults(AppViewModel.Json)
        }
    }
}
