import QtQuick
import TallyFold

// Which rows of the list are shown, or its warnings in their place.
Row {
    id: root

    required property AppViewModel viewModel
    readonly property ManifestJobListModel jobs: viewModel.manifest.manifestJobs
    property bool showsWarnings: false

    spacing: TallyTheme.space2
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("Show")

    Repeater {
        id: chips

        model: [qsTr("All"), qsTr("Mismatch"), qsTr("Failed"), qsTr("Waiting"), qsTr("Match"), qsTr("Warnings")]

        TFFilterChip {
            required property int index
            required property string modelData
            readonly property bool isForWarnings: index === 5

            function choose(other: int) {
                const chip = chips.itemAt(Math.min(Math.max(other, 0), chips.count - 1)) as TFFilterChip;
                chip.forceActiveFocus(Qt.TabFocusReason);
                chip.chosen();
            }

            objectName: "filter" + modelData
            text: modelData
            figure: isForWarnings ? root.viewModel.manifest.manifestUnsupportedLineCount : root.jobs.counts[index]
            tone: [TallyTheme.secondary, TallyTheme.bad, TallyTheme.bad, TallyTheme.secondary, TallyTheme.good, TallyTheme.caution][index]
            isChosen: isForWarnings ? root.showsWarnings : !root.showsWarnings && root.jobs.filter === index
            Keys.onLeftPressed: choose(index - 1)
            Keys.onRightPressed: choose(index + 1)
            onChosen: {
                root.showsWarnings = isForWarnings;
                if (!isForWarnings)
                    root.jobs.filter = index;
            }
        }
    }
}
