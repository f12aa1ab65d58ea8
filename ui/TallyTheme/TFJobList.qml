import QtQuick
import QtQuick.Templates as T
import TallyFold

// A list of TFJobRows, one of which is selected while there are any: its keys, and the menu of the selected row.
ListView {
    id: list

    // The least height of a row: a page is as many of them as are seen at once.
    required property int lineHeight
    required property TFMenu menu
    // Delete means the selected row.
    property bool hasRemovableRows: false

    // What Ctrl+C and Delete ask of the selected row, wherever on the screen the focus is.
    signal copyRequested
    signal removeRequested

    // The selected row, which commands act on: of the rows as they are now, which may not be drawn yet.
    function selectedIndex(): int {
        forceLayout();
        return Math.max(0, currentIndex);
    }

    spacing: TallyTheme.lineWidth
    clip: true
    activeFocusOnTab: true
    keyNavigationEnabled: true
    boundsBehavior: Flickable.StopAtBounds
    reuseItems: true
    // No rows are made ahead of need, which the view does in the background: it stumbles when they are gone meanwhile.
    cacheBuffer: 0
    highlightFollowsCurrentItem: true
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    // By itself the view keeps the index of a row that is gone, and selects nothing when rows come again.
    onCountChanged: {
        if (count === 0)
            currentIndex = -1;
        else if (currentIndex < 0)
            currentIndex = 0;
    }
    // Tab comes to the row first, not to what in it had the focus last.
    onActiveFocusChanged: {
        if (!activeFocus && currentItem)
            currentItem.focus = true;
    }
    Keys.onMenuPressed: {
        const place = currentItem.mapToItem(list, TallyTheme.space8, lineHeight);
        menu.popup(list, place.x, place.y);
    }
    Keys.onPressed: event => {
        const page = Math.max(1, Math.floor(height / lineHeight) - 1);
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

    T.ScrollBar.vertical: TFScrollBar {
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
