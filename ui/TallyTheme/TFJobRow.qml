import QtQuick
import QtQuick.Templates as T
import TallyFold

// The frame of a row in a TFJobList: how it is selected and asked for its menu, and how that shows.
T.ItemDelegate {
    id: row

    required property int index
    // What it is about went wrong.
    property bool isBad: false
    required property bool isMarked
    readonly property TFJobList list: ListView.view as TFJobList
    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property bool isSelected: isMarked || (isCurrent && !list?.markedCount)
    // The keys that are held while it is clicked.
    property int modifiers: Qt.NoModifier

    function select(modifiers: int) {
        list.select(index, modifiers);
        forceActiveFocus(Qt.MouseFocusReason);
    }

    // Of all that is selected, where this row is part of it.
    function showMenu() {
        if (isSelected)
            list.currentIndex = index;
        else
            select(Qt.NoModifier);
        forceActiveFocus(Qt.MouseFocusReason);
        list.menu.popup();
    }

    // A digest has a menu of its own.
    function isOnDigest(position: point): bool {
        let item = contentItem;
        for (let place = mapToItem(item, position); item && !(item instanceof TFSelectableText); ) {
            const child = item.childAt(place.x, place.y);
            if (child)
                place = item.mapToItem(child, place);
            item = child;
        }
        return item !== null;
    }

    implicitHeight: contentItem.implicitHeight + TallyTheme.lineWidth
    width: ListView.view ? ListView.view.width : 0
    padding: 0
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    Accessible.role: Accessible.ListItem
    Accessible.selectable: true
    Accessible.selected: isSelected
    Accessible.onPressAction: select(Qt.NoModifier)
    // Esc first means what the list does with it, and a run only then.
    Keys.onShortcutOverride: event => event.accepted = event.key === Qt.Key_Escape && row.list.hasEscape
    // Kept for later, it is no row of the list; to a screen reader neither.
    ListView.onPooled: visible = false
    ListView.onReused: visible = true
    onClicked: {
        select(modifiers);
        modifiers = Qt.NoModifier;
    }
    onPressAndHold: showMenu()

    TapHandler {
        onPressedChanged: {
            if (pressed)
                row.modifiers = point.modifiers;
        }
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: eventPoint => {
            if (!row.isOnDigest(eventPoint.position))
                row.showMenu();
        }
    }

    // The view of Qt 6.8 hides a row beside it from screen readers, but not what is in it, and leaves one hidden that comes
    // into it by scrolling. No signal tells of that: it is mended before each frame.
    Connections {
        function onAfterAnimating() {
            row.Accessible.ignored = false;
        }

        target: row.visible ? row.Window.window : null
    }

    background: Rectangle {
        radius: TallyTheme.controlRadius
        color: {
            if (row.isMarked)
                return TallyTheme.accentTint;
            if (row.isBad)
                return TallyTheme.tint(TallyTheme.bad);
            return row.isSelected ? TallyTheme.raised : row.hovered ? TallyTheme.surface : "transparent";
        }

        Rectangle {
            y: TallyTheme.space2
            width: TallyTheme.selectionWidth
            height: parent.height - 2 * y
            radius: width / 2
            visible: row.isSelected
            color: row.ListView.view && row.ListView.view.activeFocus ? TallyTheme.accent : TallyTheme.tertiary
        }

        TFFocusRing {
            visible: row.activeFocus
            // The list clips what is outside of its rows.
            inset: 0
        }

        Rectangle {
            x: TallyTheme.space4
            anchors.bottom: parent.bottom
            width: parent.width - 2 * x
            height: TallyTheme.lineWidth
            visible: !row.isSelected && !row.isBad
            color: TallyTheme.hairline
        }
    }
}
