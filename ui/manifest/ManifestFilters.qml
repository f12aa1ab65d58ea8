import QtQuick
import TallyFold

// Which rows of the list are shown, or its warnings in their place.
TFFilters {
    id: root

    required property AppViewModel viewModel

    jobs: viewModel.manifest.manifestJobs
    showsRows: !viewModel.manifest.showsWarnings
    onRowsChosen: viewModel.manifest.showsWarnings = false

    TFFilterChip {
        text: qsTr("Warnings")
        figure: root.viewModel.manifest.manifestUnsupportedFigure
        isEmpty: root.viewModel.manifest.manifestUnsupportedLineCount === 0
        tone: Tone.Caution
        isChosen: root.viewModel.manifest.showsWarnings
        onChosen: root.viewModel.manifest.showsWarnings = true
    }
}
