import QtQuick
import TallyFold

// Which rows of a list are shown: by what came of them, and by their names.
Item {
    id: root

    required property FilteredListModel jobs
    // The rows are what is seen, and nothing else in their place.
    property bool showsRows: true
    // Whose names are searched.
    property FilteredListModel searched: jobs
    // Chips for what else can be seen there.
    default property alias others: chips.data
    readonly property Item place: kinds.count > 0 ? kinds.itemAt(jobs.filter) : null

    // The rows are to be seen.
    signal rowsChosen
    // The keys are to go to the rows.
    signal rowsWanted

    function find() {
        findField.open();
    }

    implicitHeight: chips.implicitHeight
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("Show")

    Flow {
        id: chips

        // What they take in one row.
        property real rowWidth

        spacing: TallyTheme.space2
        onPositioningComplete: {
            let sum = 0;
            for (let i = 0; i < children.length; ++i) {
                if (children[i].visible && children[i].width > 0)
                    sum += children[i].width + spacing;
            }
            rowWidth = sum;
        }

        anchors {
            left: parent.left
            right: findField.left
            rightMargin: TallyTheme.space2
        }

        Repeater {
            id: kinds

            // By number: the chips stay while their figures change.
            model: root.jobs.filters.length

            TFFilterChip {
                required property int index
                readonly property listFilter kind: root.jobs.filters[index]

                text: kind.label
                figure: kind.figure
                isEmpty: kind.isEmpty
                tone: kind.tone
                isChosen: root.showsRows && root.jobs.filter === index
                onChosen: {
                    root.jobs.filter = index;
                    root.rowsChosen();
                }
            }
        }
    }

    TFFindField {
        id: findField

        // The chips stay where they are, as long as there is room to type in.
        width: isOpen ? Math.max(TallyTheme.leastFindWidth, Math.min(implicitWidth, root.width - chips.rowWidth)) : implicitWidth
        anchors.right: parent.right
        jobs: root.searched
        onRowsWanted: root.rowsWanted()
    }
}
