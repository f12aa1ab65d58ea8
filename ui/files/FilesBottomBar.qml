import QtQuick
import TallyFold

// What is done with the whole queue.
Item {
    id: root

    required property AppViewModel viewModel
    required property bool isSelectedFinished

    signal copyRequested

    function openExportMenu() {
        if (exportButton.refusal === "")
            exportMenu.popup(exportButton, 0, -exportMenu.implicitHeight - TallyTheme.space1);
    }

    implicitHeight: TallyTheme.controlHeight

    Row {
        id: actions

        spacing: TallyTheme.space2

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
    }

    TFProgressBar {
        id: bar

        objectName: "overallProgress"
        value: root.viewModel.overallProgress
        Accessible.name: qsTr("All files")

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

        objectName: "runFigure"
        // Before a run, what one would be about.
        text: {
            if (root.viewModel.interruption !== "")
                return root.viewModel.interruption;
            const total = root.viewModel.runFileCount > 0 ? root.viewModel.runFileCount : root.viewModel.jobs.count;
            return qsTr("%1 of %2").arg(root.viewModel.processedCount.toLocaleString(Qt.locale(), "f", 0)).arg(total.toLocaleString(Qt.locale(), "f", 0));
        }
        color: TallyTheme.secondary
        font.pixelSize: TallyTheme.captionSize

        anchors {
            right: start.left
            rightMargin: TallyTheme.space4
            verticalCenter: parent.verticalCenter
        }
    }

    TFButton {
        id: start

        objectName: "calculate"
        anchors.right: parent.right
        width: 112 * TallyTheme.textScale
        text: root.viewModel.isProcessing ? qsTr("Cancel") : qsTr("Calculate")
        isProminent: !root.viewModel.isProcessing
        tip: root.viewModel.isProcessing ? "Esc" : "Ctrl+Return"
        refusal: root.viewModel.isProcessing ? "" : root.viewModel.startRefusal
        onClicked: root.viewModel.isProcessing ? root.viewModel.cancelProcessing() : root.viewModel.startProcessing()
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
