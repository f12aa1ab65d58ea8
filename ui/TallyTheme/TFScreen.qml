import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// What is beside the sidebar in one mode, and only then: its title, and the distances that every mode keeps. It scrolls
// where the window is too low for the text size.
FocusScope {
    id: screen

    required property AppViewModel viewModel
    required property int mode
    default property alias content: page.data
    property alias title: header.title
    property alias subtitle: header.subtitle
    readonly property alias header: header
    // The distance of what the screen shows from the edges.
    readonly property int gutter: TallyTheme.space6
    property real headerGutter: gutter
    // The height is so little that what the screen is about comes before the space around it.
    readonly property bool isShort: height < TallyTheme.shortHeight
    // What the screen is about comes before the space around it, whatever the height.
    property bool isDense: isShort
    // What needs this height in all, from the title on; what is higher than the screen scrolls.
    property real leastHeight: 0
    // What shows how work goes on, or what came of it: it is seen whatever has the keys.
    property Item shown: null
    // Stays below what scrolls; its parent is the screen.
    property TFRunBar bar: null
    // What gets the keys when the screen comes, and when what had them cannot keep them.
    required property Item firstPlace
    property Item lastFirstPlace

    function takeKeyboard() {
        if (!visible || !firstPlace)
            return;
        // The keys stay where they are outside the screens.
        if (parent.focus)
            firstPlace.forceActiveFocus();
        else
            firstPlace.focus = true;
    }

    anchors.fill: parent
    visible: viewModel.mode === mode
    focus: visible
    onVisibleChanged: {
        takeKeyboard();
        viewport.isMoved = false;
        later.restart();
    }
    // Whoever has not moved on goes along.
    onFirstPlaceChanged: {
        if (lastFirstPlace?.focus)
            takeKeyboard();
        lastFirstPlace = firstPlace;
    }
    onShownChanged: {
        viewport.isMoved = false;
        if (shown)
            later.restart();
    }
    onLeastHeightChanged: {
        if (shown)
            later.restart();
    }
    Component.onCompleted: takeKeyboard()

    Flickable {
        id: viewport

        readonly property Item place: Window.activeFocusItem
        // By the user, who looks where that led.
        property bool isMoved: false
        // Above the bar and its notice.
        readonly property real room: screen.bar ? screen.bar.y - screen.bar.noticeRoom : screen.height

        function revealNow() {
            if (isMoved)
                return returnToBounds();
            // With as much of what is above it as there is room for.
            if (screen.shown)
                contentY = 0;
            reveal(screen.shown ?? place);
        }

        function reveal(place: Item) {
            let part = place;
            while (part && part !== page)
                part = part.parent;
            if (!part || !interactive)
                return;
            const top = place.mapToItem(page, 0, 0).y - TallyTheme.space2;
            const bottom = Math.min(top + place.height + TallyTheme.space6, top + height);
            contentY = Math.max(0, Math.min(Math.max(contentY, bottom - height), top, contentHeight - height));
        }

        width: parent.width
        height: room - (screen.bar && screen.leastHeight > room ? TallyTheme.space2 : 0)
        contentHeight: page.height
        interactive: contentHeight > height
        clip: interactive
        boundsBehavior: Flickable.StopAtBounds
        // What gets the keys is seen.
        onPlaceChanged: reveal(place)
        onMovementStarted: isMoved = true
        onHeightChanged: {
            if (!isMoved)
                contentY = 0;
            later.restart();
        }

        T.ScrollBar.vertical: TFScrollBar {
            onPressedChanged: {
                if (pressed)
                    viewport.isMoved = true;
            }
        }

        // Behind the layout of the page.
        Timer {
            id: later

            interval: 0
            onTriggered: viewport.revealNow()
        }

        Item {
            id: page

            width: viewport.width
            height: Math.max(viewport.height, screen.leastHeight)

            TFSectionHeader {
                id: header

                isCompact: screen.isDense

                anchors {
                    left: parent.left
                    right: parent.right
                    top: parent.top
                    leftMargin: screen.headerGutter
                    rightMargin: screen.headerGutter
                    topMargin: screen.isDense ? TallyTheme.space3 : screen.gutter
                }
            }
        }
    }
}
