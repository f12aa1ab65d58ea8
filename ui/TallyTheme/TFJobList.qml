import QtQuick
import QtQuick.Templates as T
import TallyFold

// A list of TFJobRows, one of which is current while there are any, and selected where no others are marked: its keys,
// and the menu of the selected rows.
ListView {
    id: list

    // The least height of a row: a page is as many of them as are seen at once.
    required property int lineHeight
    required property TFMenu menu
    // Delete means the selected rows.
    property bool hasRemovableRows: false

    readonly property FilteredListModel jobs: model as FilteredListModel
    // A run is under way. Its row is kept in view, until the user looks elsewhere.
    property bool isRunning: false
    property bool isFollowing: false
    // Of the run, 0 to 1.
    property real progress: 0
    // The row that stays in view whatever heights the rows get, until the user looks elsewhere; -1 for none.
    property int heldRow: -1
    // Of a row that is higher than the view its end.
    property bool isEndHeld: false

    readonly property int markedCount: jobs ? jobs.markedCount : 0
    // There is something that Esc takes back.
    readonly property bool hasEscape: markedCount > 0 || (jobs?.search ?? "") !== ""
    // Where a range of rows begins; -1 for the current row.
    property int anchorRow: -1

    readonly property int page: Math.max(1, Math.floor(height / lineHeight) - 1)
    // How far a key goes, in rows.
    readonly property var strides: ({
            [Qt.Key_Home]: -count,
            [Qt.Key_End]: count,
            [Qt.Key_PageUp]: -page,
            [Qt.Key_PageDown]: page
        })

    // What Ctrl+C and Delete ask of the selected rows, wherever on the screen the focus is.
    signal copyRequested
    signal removeRequested

    // The current row, which commands act on where none is marked: of the rows as they are now, which may not be drawn
    // yet.
    function selectedIndex(): int {
        forceLayout();
        return Math.max(0, currentIndex);
    }

    // With Shift all rows from the one that was selected last without, with Ctrl one more or less, otherwise only one.
    function select(row: int, modifiers: int) {
        isFollowing = false;
        if (modifiers & Qt.ShiftModifier) {
            if (anchorRow < 0)
                anchorRow = currentIndex;
            jobs.markOnly(anchorRow, row);
        } else if (modifiers & Qt.ControlModifier) {
            jobs.toggleMark(row, currentIndex);
            anchorRow = row;
        } else {
            jobs.clearMarks();
            anchorRow = -1;
        }
        currentIndex = row;
        hold(row, false);
    }

    // What covers the end of the list does not cover the row.
    function hold(row: int, isItsEnd: bool) {
        heldRow = row;
        isEndHeld = isItsEnd;
        holdOn();
    }

    function holdOn() {
        if (heldRow < 0 || heldRow >= count)
            return;
        positionViewAtIndex(heldRow, ListView.Contain);
        const item = itemAtIndex(heldRow);
        if (!item)
            return;
        const end = item.y + item.height + bottomMargin - height;
        contentY = Math.max(contentY, isEndHeld ? end : Math.min(item.y, end));
        // Where it jumped, the view makes the rows before this one only as it moves.
        if (heldRow > 0 && item.y > contentY && !itemAtIndex(heldRow - 1)) {
            contentY -= 1;
            contentY += 1;
        }
    }

    function lookElsewhere() {
        isFollowing = false;
        heldRow = -1;
    }

    spacing: TallyTheme.lineWidth
    clip: true
    activeFocusOnTab: true
    keyNavigationEnabled: false
    boundsBehavior: Flickable.StopAtBounds
    reuseItems: true
    // No rows are made ahead of need, which the view does in the background: it stumbles when they are gone meanwhile.
    cacheBuffer: 0
    highlightFollowsCurrentItem: true
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.description: markedCount > 0 ? qsTr("%1 selected").arg(jobs.markedFigure) : ""
    // By itself the view keeps the index of a row that is gone, and selects nothing when rows come again.
    onCountChanged: {
        if (count === 0)
            currentIndex = -1;
        else if (currentIndex < 0)
            currentIndex = 0;
    }
    onIsRunningChanged: {
        // Behind the row that was followed last, others may have been done in no time.
        if (isFollowing && progress === 1 && !atYBeginning)
            hold(count - 1, true);
        isFollowing = isRunning;
    }
    onMovementStarted: lookElsewhere()
    onContentHeightChanged: held.restart()
    onHeightChanged: held.restart()
    onBottomMarginChanged: held.restart()
    // Tab comes to the row first, not to what in it had the focus last.
    onActiveFocusChanged: {
        if (!activeFocus && currentItem)
            currentItem.focus = true;
    }
    Keys.onMenuPressed: {
        if (!(currentItem as TFJobRow).isSelected)
            select(currentIndex, Qt.NoModifier);
        const place = currentItem.mapToItem(list, TallyTheme.space8, lineHeight);
        menu.popup(list, place.x, place.y);
    }
    Keys.onUpPressed: event => select(Math.max(0, currentIndex - 1), event.modifiers & Qt.ShiftModifier)
    Keys.onDownPressed: event => select(Math.min(currentIndex + 1, count - 1), event.modifiers & Qt.ShiftModifier)
    Keys.onPressed: event => {
        if (event.matches(StandardKey.SelectAll)) {
            isFollowing = false;
            jobs.markOnly(0, count - 1);
            event.accepted = true;
            return;
        }
        event.accepted = event.key in strides;
        if (!event.accepted)
            return;
        select(Math.max(0, Math.min(currentIndex + strides[event.key], count - 1)), event.modifiers & Qt.ShiftModifier);
        if (event.key === Qt.Key_End)
            hold(currentIndex, true);
    }
    Keys.onEscapePressed: event => {
        event.accepted = hasEscape;
        if (markedCount > 0)
            select(currentIndex, Qt.NoModifier);
        else
            jobs.search = "";
    }

    T.ScrollBar.vertical: TFScrollBar {
        onPressedChanged: {
            if (pressed)
                list.lookElsewhere();
        }
    }

    // Behind the layout of the rows, whose heights it goes by.
    Timer {
        id: held

        interval: 0
        onTriggered: list.holdOn()
    }

    // Now and then, as there are runs of very many rows in a second.
    Timer {
        interval: TallyTheme.followInterval
        repeat: true
        triggeredOnStart: true
        running: list.visible && list.isFollowing && list.jobs.runningRow >= 0
        onTriggered: list.hold(list.jobs.runningRow, false)
    }

    // The selection stays with its job, or goes to the next that is shown.
    Connections {
        property int selectedJob: -1

        function onAboutToShowAnew() {
            selectedJob = list.jobs.jobOfRow(list.currentIndex);
        }

        function onShownAnew() {
            if (selectedJob >= 0)
                list.currentIndex = list.jobs.rowOfJob(selectedJob);
        }

        function onModelReset() {
            list.anchorRow = -1;
            list.heldRow = -1;
        }

        function onRowsInserted() {
            list.anchorRow = -1;
        }

        function onRowsRemoved() {
            list.anchorRow = -1;
            list.heldRow = -1;
        }

        target: list.jobs
    }

    Shortcut {
        enabled: list.visible
        sequences: [StandardKey.Copy]
        onActivated: list.copyRequested()
    }

    Shortcut {
        enabled: list.visible && list.hasRemovableRows
        sequence: "Delete"
        onActivated: list.removeRequested()
    }
}
