import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

T.Menu {
    id: menu

    // What had the focus, and gets it back, with the ring if it had one.
    property Item opener
    property int returnReason: Qt.PopupFocusReason
    property real leastWidth: TallyTheme.wideMenuWidth
    // Other programs change the mode, too: what they open.
    readonly property bool isOfShownScreen: parent?.visible ?? false

    function popUpAbove(place: Item) {
        popup(place, 0, -implicitHeight - TallyTheme.space1);
    }

    function widestItem(): real {
        let widest = 0;
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i)?.implicitWidth ?? 0);
        return widest;
    }

    implicitWidth: Math.max(leastWidth, widestItem() + leftPadding + rightPadding)
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: TallyTheme.space1
    margins: TallyTheme.space2
    overlap: TallyTheme.lineWidth
    delegate: TFMenuItem {
    }
    onIsOfShownScreenChanged: {
        if (!isOfShownScreen)
            close();
    }
    onAboutToShow: {
        opener = parent.Window.activeFocusItem;
        returnReason = opener?.visualFocus ? Qt.TabFocusReason : Qt.PopupFocusReason;
    }
    // Who opens it by a key goes on from the first item.
    onOpened: {
        if (returnReason === Qt.TabFocusReason && currentIndex < 0)
            currentIndex = 0;
    }
    onClosed: {
        if (!opener?.visible)
            return;
        opener.forceActiveFocus(returnReason);
        // It may have it again already, without the reason.
        const control = opener as T.Control;
        if (control)
            control.focusReason = returnReason;
    }

    contentItem: ListView {
        implicitHeight: contentHeight
        model: menu.contentModel
        interactive: false
        currentIndex: menu.currentIndex
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: TallyTheme.controlRadius + TallyTheme.space1
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
