import QtQuick
import TallyFold

// Which rows of the list are shown, or its warnings or the folder's other files in their place.
TFFilters {
    id: root

    required property AppViewModel viewModel
    readonly property AuditFlow audit: viewModel.audit
    readonly property ShownRows shown: viewModel.shownRows

    jobs: viewModel.manifest.manifestJobs
    searched: shown.rows
    showsRows: shown.kind === ShownRows.Entries
    onRowsChosen: shown.kind = ShownRows.Entries

    TFFilterChip {
        text: qsTr("Warnings")
        figure: root.viewModel.manifest.manifestUnsupportedFigure
        isEmpty: root.viewModel.manifest.manifestUnsupportedLineCount === 0
        tone: Tone.Caution
        isChosen: root.shown.kind === ShownRows.Warnings
        onChosen: root.shown.kind = ShownRows.Warnings
    }

    TFFilterChip {
        text: qsTr("Unlisted")
        // What is not about the list's entries stands apart.
        distance: TallyTheme.space6
        figure: root.audit.figure
        isEmpty: root.audit.isEmpty
        visible: root.audit.isPresent
        isChosen: root.shown.kind === ShownRows.Unlisted
        onChosen: root.shown.kind = ShownRows.Unlisted
    }
}
