import QtQuick
import TallyFold

// Which rows of the list are shown, or its warnings or the folder's other files in their place.
TFFilters {
    id: root

    required property AppViewModel viewModel
    readonly property AuditFlow audit: viewModel.audit

    // What is seen in the place of the rows, if anything is.
    function show(warnings: bool, unlisted: bool) {
        viewModel.manifest.showsWarnings = warnings;
        audit.isShown = unlisted;
    }

    jobs: viewModel.manifest.manifestJobs
    searched: audit.isShown ? audit.unlisted : jobs
    showsRows: !viewModel.manifest.showsWarnings && !audit.isShown
    onRowsChosen: show(false, false)

    TFFilterChip {
        text: qsTr("Warnings")
        figure: root.viewModel.manifest.manifestUnsupportedFigure
        isEmpty: root.viewModel.manifest.manifestUnsupportedLineCount === 0
        tone: Tone.Caution
        isChosen: root.viewModel.manifest.showsWarnings && !root.audit.isShown
        onChosen: root.show(true, false)
    }

    // What is not about the list's entries stands apart.
    Item {
        width: TallyTheme.space4
        height: TallyTheme.lineWidth
        visible: unlisted.visible
    }

    TFFilterChip {
        id: unlisted

        text: qsTr("Unlisted")
        figure: root.audit.figure
        isEmpty: root.audit.isEmpty
        visible: root.audit.isPresent
        isChosen: root.audit.isShown
        onChosen: root.show(false, true)
    }
}
