import QtQuick
import QtQuick.Templates as T
import TallyFold

// Files mode: choose algorithms, drop files, watch them, take the digests away.
FocusScope {
    id: root

    required property AppViewModel viewModel
    readonly property bool hasJobs: viewModel.jobs.count > 0
    // With little height, the list comes first.
    readonly property bool isShort: height < 600
    readonly property int gutter: TallyTheme.space6

    TFSectionHeader {
        id: header

        title: qsTr("File Hashing")
        subtitle: qsTr("Calculate multiple checksums in a single local file pass.")

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            margins: root.gutter
            topMargin: root.isShort ? TallyTheme.space3 : root.gutter
        }
    }

    DropCard {
        id: dropCard

        objectName: "dropCard"
        y: header.y + header.height + (root.isShort ? TallyTheme.space2 : TallyTheme.space4)
        height: root.hasJobs && !dropZone.isTargeted ? collapsedHeight : Math.min(expandedHeight, root.height / 3)
        isCompact: root.hasJobs && !dropZone.isTargeted
        isTargeted: dropZone.isTargeted
        refusal: root.viewModel.queueRefusal
        onChooseRequested: root.viewModel.chooseFiles()

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
        hasNote: !root.isShort

        anchors {
            left: parent.left
            right: parent.right
            top: dropCard.bottom
            topMargin: TallyTheme.space3
            leftMargin: root.gutter
            rightMargin: root.gutter
        }
    }

    TFGlassCard {
        anchors {
            left: parent.left
            right: parent.right
            top: algorithms.bottom
            bottom: bottomBar.top
            topMargin: TallyTheme.space3
            bottomMargin: TallyTheme.space3
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        ListView {
            id: list

            readonly property FileJobRow selectedRow: currentItem as FileJobRow
            readonly property bool isSelectedFinished: selectedRow !== null && selectedRow.digests.length > 0

            // The selected row, which commands act on: of the rows as they are now, which may not be drawn yet.
            function selectedId() {
                forceLayout();
                return root.viewModel.jobs.idAt(Math.max(0, currentIndex));
            }

            objectName: "jobList"
            anchors.fill: parent
            anchors.margins: TallyTheme.space1 + 2
            spacing: 1
            clip: true
            visible: count > 0
            activeFocusOnTab: true
            // By itself the view keeps the index of a row that is gone, and selects nothing when rows come again.
            onCountChanged: {
                if (count === 0)
                    currentIndex = -1;
                else if (currentIndex < 0)
                    currentIndex = 0;
            }
            // Tab comes to the row first, not to the button in it that had the keyboard last.
            onActiveFocusChanged: {
                if (!activeFocus && currentItem)
                    currentItem.focus = true;
            }
            keyNavigationEnabled: true
            boundsBehavior: Flickable.StopAtBounds
            reuseItems: true
            // No rows are made ahead of need, which the view does in the background: it stumbles when they are gone meanwhile.
            cacheBuffer: 0
            model: root.viewModel.jobs
            highlightFollowsCurrentItem: true
            highlightMoveDuration: 0
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Files")
            Keys.onMenuPressed: {
                const place = currentItem.mapToItem(root, TallyTheme.space8, TallyTheme.rowHeight);
                rowMenu.popup(root, place.x, place.y);
            }
            Keys.onPressed: event => {
                const page = Math.max(1, Math.floor(height / TallyTheme.rowHeight) - 1);
                const target = {
                    [Qt.Key_Home]: 0,
                    [Qt.Key_End]: count - 1,
                    [Qt.Key_PageUp]: Math.max(0, currentIndex - page),
                    [Qt.Key_PageDown]: Math.min(count - 1, currentIndex + page)
                }[event.key];
                event.accepted = target !== undefined;
                if (event.accepted)
                    currentIndex = target;
            }

            delegate: FileJobRow {
                viewModel: root.viewModel
                width: ListView.view.width
                onMenuRequested: rowMenu.popup()
            }

            T.ScrollBar.vertical: TFScrollBar {
            }
        }

        Column {
            anchors.centerIn: parent
            visible: !root.hasJobs
            spacing: TallyTheme.space2

            TFIcon {
                anchors.horizontalCenter: parent.horizontalCenter
                name: "doc.on.doc"
                size: 32
                color: TallyTheme.tertiary
            }

            TFText {
                objectName: "emptyList"
                anchors.horizontalCenter: parent.horizontalCenter
                text: qsTr("Files and their checksums will be listed here.")
                color: TallyTheme.secondary
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }

    // Acts on the selected row, which the request for it has selected.
    TFMenu {
        id: rowMenu

        implicitWidth: 200 * TallyTheme.textScale

        TFMenuItem {
            objectName: "reveal"
            text: qsTr("Reveal in Finder")
            symbol: "magnifyingglass"
            onTriggered: root.viewModel.reveal(list.selectedId())
        }

        TFMenuItem {
            objectName: "copyPath"
            text: qsTr("Copy path")
            symbol: "doc.on.clipboard"
            onTriggered: root.viewModel.copyPath(list.selectedId())
        }

        TFMenuItem {
            objectName: "removeRow"
            text: qsTr("Remove")
            symbol: "xmark"
            enabled: root.viewModel.queueRefusal === ""
            onTriggered: root.viewModel.removeJob(list.selectedId())
        }
    }

    FilesBottomBar {
        id: bottomBar

        viewModel: root.viewModel
        isSelectedFinished: list.isSelectedFinished
        onCopyRequested: root.viewModel.copyAllHashes(list.selectedId())

        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.bottom
            margins: root.gutter
            bottomMargin: TallyTheme.space4
        }
    }

    // Drops are taken anywhere on the screen; the card shows that they are.
    DropZone {
        id: dropZone

        objectName: "dropZone"
        anchors.fill: parent
        enabled: root.viewModel.queueRefusal === ""
        replaces: [root.viewModel.clearings]
        z: -1
        onFilesDropped: files => root.viewModel.receiveDroppedFiles(files)
    }

    Shortcut {
        enabled: root.visible
        sequence: StandardKey.Open
        onActivated: root.viewModel.chooseFiles()
    }

    Shortcut {
        enabled: root.visible
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        autoRepeat: false
        onActivated: root.viewModel.startProcessing()
    }

    Shortcut {
        enabled: root.visible && (root.viewModel.isProcessing || root.viewModel.isExporting)
        sequence: "Esc"
        onActivated: root.viewModel.isProcessing ? root.viewModel.cancelProcessing() : root.viewModel.cancelExport()
    }

    Shortcut {
        enabled: root.visible
        sequence: "Ctrl+E"
        onActivated: bottomBar.openExportMenu()
    }

    Shortcut {
        enabled: root.visible && root.hasJobs
        sequence: "Delete"
        onActivated: root.viewModel.removeJob(list.selectedId())
    }

    Shortcut {
        enabled: root.visible && root.hasJobs
        sequences: [StandardKey.Copy]
        onActivated: root.viewModel.copyAllHashes(list.selectedId())
    }
}
