import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// What stands over the window and is answered first. Whoever had the focus gets it back.
T.Popup {
    id: sheet

    property Item opener

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    implicitHeight: contentItem.implicitHeight + 2 * padding
    padding: TallyTheme.space6
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    onAboutToShow: opener = parent.Window.activeFocusItem
    onClosed: {
        // Nobody had it where another window, such as a file panel, had the keys.
        if (opener?.visible)
            opener.forceActiveFocus(Qt.TabFocusReason);
        const control = parent.Window.activeFocusItem as T.Control;
        if (control)
            control.focusReason = Qt.TabFocusReason;
    }

    T.Overlay.modal: Rectangle {
        color: TallyTheme.scrim
    }

    background: Rectangle {
        radius: TallyTheme.cardRadius
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
