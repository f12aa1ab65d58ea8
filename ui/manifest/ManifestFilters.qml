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

    component Chip: TFFilterChip {
        id: chip

        // The chip beside it, as the arrow keys reach it.
        property TFFilterChip before
        property TFFilterChip after

        function choose(other: TFFilterChip) {
            const next = other ?? chip;
            next.forceActiveFocus(Qt.TabFocusReason);
            next.chosen();
        }

        objectName: "filter" + text
        Keys.onLeftPressed: choose(before)
        Keys.onRightPressed: choose(after)
    }

    component RowsChip: Chip {
        required property int filter

        isChosen: !root.showsWarnings && root.jobs.filter === filter
        onChosen: {
            root.showsWarnings = false;
            root.jobs.filter = filter;
        }
    }

    RowsChip {
        id: all

        after: mismatches
        filter: ManifestJobListModel.All
        text: qsTr("All")
        figure: root.jobs.counts.all
    }

    RowsChip {
        id: mismatches

        before: all
        after: failures
        filter: ManifestJobListModel.Mismatches
        text: qsTr("Mismatch")
        figure: root.jobs.counts.mismatches
        tone: TallyTheme.bad
    }

    RowsChip {
        id: failures

        before: mismatches
        after: waiting
        filter: ManifestJobListModel.Failures
        text: qsTr("Failed")
        figure: root.jobs.counts.failures
        tone: TallyTheme.bad
    }

    RowsChip {
        id: waiting

        before: failures
        after: matches
        filter: ManifestJobListModel.Waiting
        text: qsTr("Waiting")
        figure: root.jobs.counts.waiting
    }

    RowsChip {
        id: matches

        before: waiting
        after: warnings
        filter: ManifestJobListModel.Matches
        text: qsTr("Match")
        figure: root.jobs.counts.matches
        tone: TallyTheme.good
    }

    Chip {
        id: warnings

        before: matches
        text: qsTr("Warnings")
        figure: root.viewModel.manifest.manifestUnsupportedLineCount
        tone: TallyTheme.caution
        isChosen: root.showsWarnings
        onChosen: root.showsWarnings = true
    }
}
