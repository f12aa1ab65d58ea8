import QtQuick
import TallyFold

// Files mode: choose algorithms, drop files, watch them, take the digests away.
TFScreen {
    id: root

    readonly property FileJobListModel jobs: viewModel.files.jobs
    readonly property bool hasJobs: jobs.total > 0
    readonly property int gap: isDense ? TallyTheme.space2 : TallyTheme.space3

    objectName: "filesView"
    mode: AppMode.Files
    firstPlace: {
        if (list.visible)
            return list;
        return hasJobs ? filters.place : dropCard.choosePlace;
    }
    title: qsTr("File Hashing")
    subtitle: qsTr("Calculate multiple checksums in a single local file pass.")
    isDense: isShort || hasJobs
    leastHeight: listCard.y + (hasJobs ? TallyTheme.leastListHeight : empty.height + 2 * TallyTheme.space3) + gap
    bar: bottomBar
    shown: list.isFollowing ? list : null

    DropCard {
        id: dropCard

        objectName: "dropCard"
        y: root.header.y + root.header.height + (root.isDense ? TallyTheme.space2 : TallyTheme.space4)
        height: root.hasJobs && !dropZone.isTargeted ? collapsedHeight : Math.max(leastHeight, Math.min(expandedHeight, root.height * TallyTheme.dropCardShare))
        isCompact: root.hasJobs && !dropZone.isTargeted
        isTargeted: dropZone.isTargeted
        refusal: root.viewModel.files.queueRefusal
        onChooseRequested: root.viewModel.files.chooseFiles()

        anchors {
            left: parent.left
            right: parent.right
            leftMargin: root.gutter
            rightMargin: root.gutter
        }
    }

    AlgorithmsCard {
        id: algorithms

        viewModel: root.viewModel
        isCompact: root.hasJobs
        isShort: root.isDense

        anchors {
            left: parent.left
            right: parent.right
            top: dropCard.bottom
            topMargin: root.gap
            leftMargin: root.gutter
            rightMargin: root.gutter
        }
    }

    TFFilters {
        id: filters

        visible: root.hasJobs
        jobs: root.jobs
        onRowsWanted: list.forceActiveFocus(Qt.ShortcutFocusReason)

        anchors {
            left: parent.left
            right: parent.right
            top: algorithms.bottom
            topMargin: root.gap
            leftMargin: root.gutter
            rightMargin: root.gutter
        }
    }

    TFGlassCard {
        id: listCard

        anchors {
            left: parent.left
            right: parent.right
            top: root.hasJobs ? filters.bottom : algorithms.bottom
            bottom: parent.bottom
            topMargin: root.gap
            bottomMargin: root.gap
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        TFJobList {
            id: list

            readonly property FileJobRow selectedRow: currentItem as FileJobRow
            readonly property bool isSelectedFinished: markedCount > 0 ? root.jobs.hasMarkedResults : selectedRow !== null && selectedRow.digests.length > 0

            function copySelected() {
                root.viewModel.files.copySelected(selectedId());
            }

            function removeSelected() {
                root.viewModel.files.removeSelected(selectedId());
            }

            function selectedId() {
                return root.jobs.idAt(selectedIndex());
            }

            objectName: "jobList"
            anchors.fill: parent
            anchors.margins: TallyTheme.space1
            visible: count > 0
            lineHeight: TallyTheme.smallControlHeight
            menu: rowMenu
            hasRemovableRows: true
            isRunning: root.viewModel.files.isProcessing
            progress: root.viewModel.files.overallProgress
            model: root.jobs
            Accessible.name: qsTr("Files")
            onCopyRequested: copySelected()
            onRemoveRequested: removeSelected()

            delegate: FileJobRow {
                viewModel: root.viewModel
            }
        }

        TFEmptyState {
            id: empty

            visible: !list.visible
            spacing: TallyTheme.space2
            icon: "doc.on.doc"
            text: root.viewModel.files.emptySentence
            textName: "emptyList"
        }
    }

    // Acts on the selected rows, which the request for it has selected.
    TFMenu {
        id: rowMenu

        leastWidth: TallyTheme.listMenuWidth

        TFMenuItem {
            objectName: "copyChecksums"
            text: qsTr("Copy Checksums")
            symbol: "doc.on.doc"
            shortcutText: "Ctrl+C"
            enabled: list.isSelectedFinished
            onTriggered: list.copySelected()
        }

        TFMenuItem {
            objectName: "reveal"
            text: qsTr("Reveal in Finder")
            symbol: "magnifyingglass"
            enabled: list.markedCount < 2
            onTriggered: root.viewModel.files.reveal(list.selectedId())
        }

        TFMenuItem {
            objectName: "copyPath"
            text: qsTr("Copy path")
            symbol: "doc.on.clipboard"
            enabled: list.markedCount < 2
            onTriggered: root.viewModel.files.copyPath(list.selectedId())
        }

        TFMenuItem {
            objectName: "removeRow"
            text: list.markedCount > 1 ? qsTr("Remove %1 files").arg(root.jobs.markedFigure) : qsTr("Remove")
            symbol: "xmark"
            shortcutText: "Del"
            enabled: root.viewModel.files.queueRefusal === ""
            onTriggered: list.removeSelected()
        }
    }

    FilesBottomBar {
        id: bottomBar

        parent: root
        viewModel: root.viewModel
        noticeGap: root.gap
        isSelectedFinished: list.isSelectedFinished
        onRowRequested: row => {
            list.select(row, Qt.NoModifier);
            list.positionViewAtIndex(row, ListView.Contain);
            list.forceActiveFocus(Qt.ShortcutFocusReason);
        }
        onCopyRequested: list.copySelected()

        notice: FilesNoticeBar {
            viewModel: root.viewModel
        }
    }

    // Drops are taken anywhere on the screen; the card shows that they are.
    DropZone {
        id: dropZone

        objectName: "dropZone"
        anchors.fill: parent
        enabled: root.viewModel.files.queueRefusal === ""
        replaces: [root.viewModel.files.clearings]
        z: -1
        onFilesDropped: files => root.viewModel.files.receiveDroppedFiles(files)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    Shortcut {
        enabled: root.visible
        sequences: [StandardKey.Open]
        onActivated: root.viewModel.files.chooseFiles()
    }

    Shortcut {
        enabled: filters.visible
        sequences: [StandardKey.Find]
        onActivated: filters.find()
    }

    Shortcut {
        enabled: root.visible
        sequence: "Ctrl+E"
        onActivated: bottomBar.openExportMenuByKey()
    }
}
