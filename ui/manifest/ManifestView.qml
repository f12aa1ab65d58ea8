import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// Manifest mode: a checksum list against the files below a folder.
FocusScope {
    id: root

    required property AppViewModel viewModel
    readonly property ManifestJobListModel jobs: viewModel.manifest.manifestJobs
    readonly property var verdict: viewModel.manifest.manifestVerdict
    readonly property var listFile: viewModel.manifest.manifestFile
    readonly property var rootFolder: viewModel.manifest.manifestRoot
    readonly property bool hasList: listFile.name !== undefined
    readonly property bool isBusy: viewModel.manifest.isLoadingManifest || viewModel.manifest.isManifestVerifying
    readonly property string busyRefusal: viewModel.manifest.isLoadingManifest ? qsTr("The checksum list is being read.") : viewModel.manifest.isManifestVerifying ? qsTr("A verification is under way.") : ""
    // With little height, the list comes first.
    readonly property bool isShort: height < 600
    readonly property int gutter: TallyTheme.space6
    readonly property int gap: isShort ? TallyTheme.space2 : TallyTheme.space3
    // The warnings stand in the place of the rows.
    property bool showsWarnings: false

    function copyShown() {
        if (showsWarnings)
            viewModel.manifest.copyManifestWarnings();
        else
            viewModel.manifest.copyManifestRows();
    }

    function chooseWhatIsMissing() {
        if (!hasList)
            viewModel.manifest.chooseManifestFile();
        else if (!isBusy && rootFolder.name === undefined)
            viewModel.manifest.chooseManifestRoot();
    }

    onHasListChanged: showsWarnings = false
    Keys.onReturnPressed: bottomBar.start()
    Keys.onEnterPressed: bottomBar.start()

    TFSectionHeader {
        id: header

        title: qsTr("Manifest")
        subtitle: qsTr("Verify the files below a folder against a checksum list.")

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            margins: root.gutter
            topMargin: root.isShort ? TallyTheme.space3 : root.gutter
        }
    }

    Item {
        id: cards

        height: Math.max(list.implicitHeight, folder.implicitHeight, 92 * TallyTheme.textScale)

        anchors {
            left: parent.left
            right: parent.right
            top: header.bottom
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
            file: root.viewModel.manifest.manifestFile
            facts: root.viewModel.manifest.manifestLines
            tip: "Ctrl+O"
            isTargeted: dropZone.isTargeted
            refusal: root.busyRefusal
            onChooseRequested: root.viewModel.manifest.chooseManifestFile()
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
            proposal: root.viewModel.manifest.proposedManifestRoot
            tip: "Ctrl+Shift+O"
            isTargeted: dropZone.isTargeted
            refusal: root.viewModel.manifest.isManifestVerifying ? root.busyRefusal : ""
            onChooseRequested: root.viewModel.manifest.chooseManifestRoot()
            onProposalAccepted: root.viewModel.manifest.useProposedManifestRoot()
        }
    }

    TFVerdict {
        id: verdict

        objectName: "manifestVerdict"
        height: Math.max(implicitHeight, 80 * TallyTheme.textScale)
        visible: root.hasList
        icon: root.verdict.icon
        title: root.verdict.title
        outcome: root.verdict.outcome
        isPending: root.verdict.isPending
        isBusy: root.isBusy

        anchors {
            left: parent.left
            right: parent.right
            top: cards.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        TFText {
            objectName: "manifestVerdictDetails"
            width: parent.width
            text: root.verdict.details
            color: TallyTheme.secondary
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Row {
        id: filters

        spacing: TallyTheme.space2
        visible: root.hasList
        Accessible.role: Accessible.Grouping
        Accessible.name: qsTr("Show")

        anchors {
            left: parent.left
            right: parent.right
            top: verdict.bottom
            margins: root.gutter
            topMargin: root.gap
        }

        Repeater {
            id: chips

            model: [qsTr("All"), qsTr("Mismatch"), qsTr("Failed"), qsTr("Waiting"), qsTr("Match"), qsTr("Warnings")]

            TFFilterChip {
                required property int index
                required property string modelData
                readonly property bool isOfWarnings: index === 5

                function choose(other: int) {
                    const chip = chips.itemAt(Math.min(Math.max(other, 0), chips.count - 1)) as TFFilterChip;
                    chip.forceActiveFocus(Qt.TabFocusReason);
                    chip.chosen();
                }

                objectName: "filter" + modelData
                text: modelData
                figure: isOfWarnings ? root.viewModel.manifest.manifestUnsupportedLineCount : root.jobs.counts[index]
                tone: [TallyTheme.secondary, TallyTheme.bad, TallyTheme.bad, TallyTheme.secondary, TallyTheme.good, TallyTheme.caution][index]
                isChosen: isOfWarnings ? root.showsWarnings : !root.showsWarnings && root.jobs.filter === index
                Keys.onLeftPressed: choose(index - 1)
                Keys.onRightPressed: choose(index + 1)
                onChosen: {
                    root.showsWarnings = isOfWarnings;
                    if (!isOfWarnings)
                        root.jobs.filter = index;
                }
            }
        }
    }

    TFGlassCard {
        anchors {
            left: parent.left
            right: parent.right
            top: root.hasList ? filters.bottom : cards.bottom
            bottom: bottomBar.top
            topMargin: root.gap
            bottomMargin: root.gap
            leftMargin: root.gutter
            rightMargin: root.gutter
        }

        TFJobList {
            id: rows

            objectName: "manifestList"
            anchors.fill: parent
            anchors.margins: TallyTheme.space1 + 2
            visible: !root.showsWarnings && count > 0
            lineHeight: TallyTheme.listRowHeight
            menu: rowMenu
            model: root.jobs
            Accessible.name: qsTr("Entries")
            onCopyRequested: root.viewModel.manifest.copyManifestRow(selectedIndex())

            delegate: ManifestJobRow {
                numberWidth: numberMetrics.width + 1
            }

            Connections {
                property int selectedJob: 0

                function onAboutToShowAnew() {
                    selectedJob = root.jobs.jobOfRow(rows.currentIndex);
                }

                function onShownAnew() {
                    rows.currentIndex = root.jobs.rowOfJob(selectedJob);
                }

                target: root.jobs
            }
        }

        ListView {
            id: warnings

            objectName: "manifestWarnings"
            anchors.fill: parent
            anchors.margins: TallyTheme.space3
            spacing: TallyTheme.space2
            clip: true
            visible: root.showsWarnings && count > 0
            activeFocusOnTab: true
            boundsBehavior: Flickable.StopAtBounds
            model: root.viewModel.manifest.manifestWarnings
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Warnings")

            header: TFText {
                width: ListView.view.width
                height: implicitHeight + TallyTheme.space3
                text: root.viewModel.manifest.manifestWarningsSummary
                color: TallyTheme.secondary
                wrapMode: Text.Wrap
                verticalAlignment: Text.AlignTop
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            delegate: Item {
                id: warning

                required property string modelData

                width: ListView.view.width
                height: text.implicitHeight
                Accessible.role: Accessible.ListItem
                Accessible.name: modelData

                TFIcon {
                    id: sign

                    name: "exclamationmark.triangle.fill"
                    color: TallyTheme.caution
                }

                TFText {
                    id: text

                    text: warning.modelData
                    wrapMode: Text.Wrap

                    anchors {
                        left: sign.right
                        right: parent.right
                        leftMargin: TallyTheme.space2
                    }
                }
            }

            TFFocusRing {
                visible: warnings.activeFocus
            }

            T.ScrollBar.vertical: TFScrollBar {
            }
        }

        Column {
            anchors.centerIn: parent
            visible: !rows.visible && !warnings.visible
            width: parent.width - 2 * TallyTheme.space6
            spacing: TallyTheme.space3

            TFIcon {
                anchors.horizontalCenter: parent.horizontalCenter
                visible: !root.viewModel.manifest.isLoadingManifest
                name: "checklist"
                size: 32
                color: TallyTheme.tertiary
            }

            TFText {
                objectName: "manifestEmpty"
                width: parent.width
                text: {
                    if (!root.hasList)
                        return qsTr("Drop a checksum list and the folder that it describes.");
                    if (root.showsWarnings)
                        return qsTr("Every line of the list is understood.");
                    return root.jobs.counts[0] > 0 ? qsTr("No entry is in this state.") : qsTr("There are no entries to show.");
                }
                visible: !root.viewModel.manifest.isLoadingManifest
                color: TallyTheme.secondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            TFButton {
                objectName: "chooseManifest"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: !root.hasList
                text: qsTr("Choose Checksum List…")
                icon: "plus"
                tip: "Ctrl+O"
                onClicked: root.viewModel.manifest.chooseManifestFile()
            }
        }
    }

    TextMetrics {
        id: numberMetrics

        text: root.jobs.lastLineNumber.toLocaleString(Qt.locale(), "f", 0)
        font.pixelSize: TallyTheme.captionSize
    }

    // Acts on the selected row, which the request for it has selected.
    TFMenu {
        id: rowMenu

        implicitWidth: 220 * TallyTheme.textScale

        TFMenuItem {
            objectName: "copyRow"
            text: qsTr("Copy row")
            symbol: "doc.on.clipboard"
            shortcutText: "Ctrl+C"
            onTriggered: root.viewModel.manifest.copyManifestRow(rows.selectedIndex())
        }

        TFMenuItem {
            objectName: "copyShownRows"
            text: qsTr("Copy all rows shown")
            symbol: "doc.on.doc"
            shortcutText: "Ctrl+Shift+C"
            onTriggered: root.copyShown()
        }
    }

    ManifestBottomBar {
        id: bottomBar

        viewModel: root.viewModel
        hasRows: rows.visible || warnings.visible
        onCopyRequested: root.copyShown()
        onStartRefused: root.chooseWhatIsMissing()

        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.bottom
            margins: root.gutter
            bottomMargin: TallyTheme.space4
        }
    }

    // A list, a folder or both may be dropped anywhere on the screen.
    DropZone {
        id: dropZone

        readonly property var folder: root.viewModel.manifest.manifestRoot

        objectName: "manifestDropZone"
        anchors.fill: parent
        z: -1
        takesFolders: true
        replaces: [root.listFile.folder, root.listFile.name, folder.folder, folder.name]
        enabled: !root.isBusy
        onFilesDropped: files => root.viewModel.manifest.dropManifest(files)
        onDropRefused: sentence => root.viewModel.errorMessage = sentence
    }

    Shortcut {
        enabled: root.visible
        sequences: [StandardKey.Open]
        onActivated: root.viewModel.manifest.chooseManifestFile()
    }

    Shortcut {
        enabled: root.visible && !root.viewModel.manifest.isManifestVerifying
        sequence: "Ctrl+Shift+O"
        onActivated: root.viewModel.manifest.chooseManifestRoot()
    }

    // Where no item has the focus that could mean something else by it.
    Shortcut {
        enabled: root.visible && !root.isBusy && root.Window.activeFocusItem === root.Window.contentItem
        sequences: ["Return", "Enter"]
        autoRepeat: false
        onActivated: bottomBar.start()
    }

    Shortcut {
        enabled: root.visible
        sequence: "Ctrl+Shift+C"
        onActivated: root.copyShown()
    }
}
