import QtQuick
import TallyFold

// Manifest mode: a checksum list against the files below a folder.
TFScreen {
    id: root

    readonly property ManifestJobListModel jobs: viewModel.manifest.manifestJobs
    readonly property manifestVerdict verdict: viewModel.manifest.manifestVerdict
    readonly property fileCard listFile: viewModel.manifest.manifestFile
    readonly property bool hasList: listFile.isPresent
    readonly property int gap: isShort ? TallyTheme.space2 : TallyTheme.space3
    readonly property AuditFlow audit: viewModel.audit
    readonly property ShownRows shownRows: viewModel.shownRows
    // Of the two lists of rows the one that is meant.
    readonly property TFJobList seenList: shownRows.kind === ShownRows.Unlisted ? unlisted.list : rows

    Keys.onReturnPressed: viewModel.manifest.verifyManifestOrChoose()
    Keys.onEnterPressed: viewModel.manifest.verifyManifestOrChoose()

    mode: AppMode.Manifest
    firstPlace: {
        for (const place of [rows, warnings, unlisted]) {
            if (place.visible)
                return place;
        }
        if (!hasList)
            return choose.place;
        return viewModel.manifest.manifestFileRefusal === "" ? list.choosePlace : bottomBar.runPlace;
    }
    title: qsTr("Manifest")
    subtitle: qsTr("Verify the files below a folder against a checksum list.")
    leastHeight: listCard.y + (hasList ? TallyTheme.leastListHeight : empty.height + 2 * TallyTheme.space3) + gap
    bar: bottomBar
    shown: {
        if (rows.isFollowing)
            return rows;
        return hasList && !viewModel.manifest.isBusy ? outcome : null;
    }

    Item {
        id: cards

        height: Math.max(list.implicitHeight, folder.implicitHeight, TallyTheme.listCardHeight)

        anchors {
            left: parent.left
            right: parent.right
            top: root.header.bottom
            margins: root.gutter
            topMargin: root.isShort ? TallyTheme.space2 : TallyTheme.space4
        }

        TFFileCard {
            id: list

            objectName: "manifestFile"
            width: (parent.width - TallyTheme.space3) / 2
            height: parent.height
            title: qsTr("Checksum list")
            icon: "checklist"
            hint: qsTr("Drop a list here, or choose one.")
            file: root.listFile
            facts: root.viewModel.manifest.manifestLines
            tip: "Ctrl+O"
            isTargeted: dropZone.isTargeted
            refusal: root.viewModel.manifest.manifestFileRefusal
            onChooseRequested: root.viewModel.manifest.chooseManifestFile()
            onChosen: root.takeKeyboard()
            readings: root.viewModel.manifest.manifestAlgorithms
            reading: root.viewModel.manifest.manifestAlgorithm
            onReadingChosen: name => root.viewModel.manifest.readManifestAs(name)
        }

        TFFileCard {
            id: folder

            objectName: "manifestRoot"
            anchors.right: parent.right
            width: (parent.width - TallyTheme.space3) / 2
            height: parent.height
            title: qsTr("Root folder")
            icon: "folder"
            emptyName: qsTr("No folder selected")
            hint: qsTr("Drop a folder here, or choose one.")
            file: root.viewModel.manifest.manifestRoot
            tip: "Ctrl+Shift+O"
            isTargeted: dropZone.isTargeted
            refusal: root.viewModel.manifest.manifestRootRefusal
            onChooseRequested: root.viewModel.manifest.chooseManifestRoot()
            onChosen: root.takeKeyboard()
            action: root.hasList && !isEmpty ? qsTr("Create List…") : ""
            actionTip: "Ctrl+N"
            actionRefusal: root.viewModel.manifest.manifestFileRefusal
            onActionRequested: creation.open()
        }
    }

    TFVerdict {
        id: verdict

        objectName: "manifestVerdict"
        height: Math.max(implicitHeight, TallyTheme.listVerdictHeight)
        visible: root.hasList
        icon: TallyTheme.iconOfList(root.verdict.kind)
        title: root.verdict.title
        tone: root.verdict.tone
        isBusy: root.viewModel.manifest.isBusy

        anchors {
            left: parent.left
            right: parent.right
            top: cards.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        TFStaticText {
            objectName: "manifestVerdictDetails"
            width: parent.width
            text: root.verdict.details
            color: TallyTheme.secondary
            wrapMode: Text.Wrap
        }

        ManifestReadings {
            width: parent.width
            visible: height > 0
            viewModel: root.viewModel
        }

        ManifestAudit {
            width: parent.width
            audit: root.audit
        }
    }

    ManifestFilters {
        id: filters

        viewModel: root.viewModel
        visible: root.hasList
        onRowsWanted: root.seenList.forceActiveFocus(Qt.ShortcutFocusReason)

        anchors {
            left: parent.left
            right: parent.right
            top: verdict.bottom
            margins: root.gutter
            topMargin: root.gap
        }
    }

    // The verdict and the first of the rows that it is about.
    Item {
        id: outcome

        anchors {
            left: verdict.left
            right: verdict.right
            top: verdict.top
            bottom: listCard.top
            bottomMargin: -TallyTheme.listRowHeight
        }
    }

    TFGlassCard {
        id: listCard

        anchors {
            left: parent.left
            right: parent.right
            top: root.hasList ? filters.bottom : cards.bottom
            bottom: parent.bottom
            topMargin: root.gap
            bottomMargin: root.gap
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        TFJobList {
            id: rows

            objectName: "manifestList"
            anchors.fill: parent
            anchors.margins: TallyTheme.rowMargin
            visible: root.shownRows.kind === ShownRows.Entries && count > 0
            lineHeight: TallyTheme.listRowHeight
            menu: rowMenu
            isRunning: root.viewModel.manifest.isManifestVerifying
            progress: root.viewModel.manifest.manifestProgress
            model: root.jobs
            Accessible.name: qsTr("Entries")
            onCopyRequested: root.shownRows.copySelected(selectedIndex())

            delegate: ManifestJobRow {
                runStatus: root.viewModel.manifest.runStatus
                numberWidth: numberMetrics.width + TallyTheme.lineWidth
            }
        }

        ManifestWarnings {
            id: warnings

            objectName: "manifestWarnings"
            anchors.fill: parent
            anchors.margins: TallyTheme.space3
            visible: root.shownRows.kind === ShownRows.Warnings && count > 0
            viewModel: root.viewModel
        }

        ManifestUnlisted {
            id: unlisted

            anchors.fill: parent
            anchors.margins: TallyTheme.rowMargin
            visible: root.shownRows.kind === ShownRows.Unlisted && hasRows
            audit: root.audit
            menu: rowMenu
            onCopyRequested: root.shownRows.copySelected(unlisted.list.selectedIndex())
        }

        TFEmptyState {
            id: empty

            visible: !rows.visible && !warnings.visible && !unlisted.visible
            isPending: root.shownRows.isPending
            icon: "checklist"
            textName: "manifestEmpty"
            text: root.shownRows.emptySentence

            TFButton {
                id: choose

                objectName: "chooseManifest"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: !root.hasList
                text: qsTr("Choose Checksum List…")
                icon: "checklist"
                tip: "Ctrl+O"
                onClicked: root.viewModel.manifest.chooseManifestFile()
            }

            TFButton {
                objectName: "createManifest"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: !root.hasList && folder.file.isPresent
                text: qsTr("Create List…")
                icon: "checklist.badge.plus"
                tip: "Ctrl+N"
                refusal: root.viewModel.manifest.manifestFileRefusal
                onClicked: creation.open()
            }
        }
    }

    ListCreationSheet {
        id: creation

        viewModel: root.viewModel
    }

    TextMetrics {
        id: numberMetrics

        text: root.jobs.lastNumber
        font.pixelSize: TallyTheme.captionSize
    }

    // Acts on the selected rows, which the request for it has selected.
    TFMenu {
        id: rowMenu

        readonly property FilteredListModel jobs: root.shownRows.rows

        leastWidth: TallyTheme.listMenuWidth

        TFMenuItem {
            objectName: "copyRow"
            text: rowMenu.jobs.markedCount > 1 ? qsTr("Copy %1 rows").arg(rowMenu.jobs.markedFigure) : qsTr("Copy row")
            symbol: "doc.on.clipboard"
            shortcutText: "Ctrl+C"
            onTriggered: root.shownRows.copySelected(root.seenList.selectedIndex())
        }

        TFMenuItem {
            objectName: "copyShownRows"
            text: qsTr("Copy all rows shown")
            symbol: "doc.on.doc"
            shortcutText: "Ctrl+Shift+C"
            onTriggered: root.shownRows.copyAll()
        }
    }

    ManifestBottomBar {
        id: bottomBar

        parent: root
        viewModel: root.viewModel
        noticeGap: root.gap

        notice: ManifestNoticeBar {
            manifest: root.viewModel.manifest
        }
    }

    // A list, a folder or both may be dropped anywhere on the screen.
    DropZone {
        id: dropZone

        readonly property fileCard rootFolder: root.viewModel.manifest.manifestRoot

        objectName: "manifestDropZone"
        anchors.fill: parent
        z: -1
        takesFolders: true
        replaces: [root.listFile.folder, root.listFile.name, rootFolder.folder, rootFolder.name]
        enabled: root.viewModel.manifest.manifestFileRefusal === ""
        onFilesDropped: files => root.viewModel.manifest.dropManifest(files)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    Shortcut {
        enabled: root.visible
        sequences: [StandardKey.Open]
        onActivated: root.viewModel.manifest.chooseManifestFile()
    }

    Shortcut {
        enabled: root.visible && root.viewModel.manifest.manifestRootRefusal === ""
        sequence: "Ctrl+Shift+O"
        onActivated: root.viewModel.manifest.chooseManifestRoot()
    }

    Shortcut {
        enabled: root.visible && folder.file.isPresent && root.viewModel.manifest.manifestFileRefusal === ""
        sequences: [StandardKey.New]
        onActivated: creation.open()
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

    Shortcut {
        enabled: root.visible
        sequence: "Ctrl+Shift+C"
        onActivated: root.shownRows.copyAll()
    }
}
